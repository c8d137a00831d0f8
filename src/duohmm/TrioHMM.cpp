#include "duohmm/TrioHMM.h"
#include "duohmm/geneticMap.h"
#include "duohmm/hmm_utils.h"
#include "objects/chaplotype.h"
#include "utils/assertion.h"

#include <cmath>

// The first site of the forward pass is left unscaled. The emission in xi is that of the
// source state at the later site, unlike DuoHMM; the fitted switch rates follow from this
// choice, which is kept. The initial Viterbi scores subtract the state count itself rather
// than its logarithm: all states are shifted alike, so the path is the same.
TrioHMM::TrioHMM(const std::vector < int > & positions, const geneticMap & map) :
	pedigree_hmm(positions, map, pedigree_hmm_variant { { 4, 2, 1 }, false, true, 8.0f }),
	dadptr(NULL), mumptr(NULL), childptr(NULL) {
	recombination_mum.assign(K, 0.0f);
	recombination_dad.assign(K, 0.0f);
	genotype_error = switch_child = switch_mum = switch_dad = 0.005f;
}

int TrioHMM::setHaps(const chaplotype * dad, const chaplotype * mum, const chaplotype * child) {
	sorvane_assert(dad != NULL && mum != NULL && child != NULL);
	dadptr = dad;
	mumptr = mum;
	childptr = child;
	genotype_error = switch_child = switch_mum = switch_dad = 0.005f;
	return 0;
}

void TrioHMM::matches(int l, bool * match) const {
	const int c0 = childptr[0].get(l), c1 = childptr[1].get(l);
	for (int j = 0 ; j < 8 ; j ++) {
		const int d = dadptr[j >> 2].get(l), m = mumptr[(j >> 1) & 1].get(l);
		match[j] = (j & 1) ? (c1 == d && c0 == m) : (c0 == d && c1 == m);
	}
}

void TrioHMM::transitions(int l, float * T) const {
	const float F[2] = { stayProbability(recomb_male[l], switch_dad), changeProbability(recomb_male[l], switch_dad) };
	const float M[2] = { stayProbability(recomb_female[l], switch_mum), changeProbability(recomb_female[l], switch_mum) };
	const float C[2] = { 1 - switch_child, switch_child };
	for (int i = 0 ; i < 8 ; i ++) for (int j = 0 ; j < 8 ; j ++)
		T[i * 8 + j] = F[(i >> 2) != (j >> 2)] * M[((i >> 1) & 1) != ((j >> 1) & 1)] * C[(i & 1) != (j & 1)];
}

void TrioHMM::fitRates(const double * changes, double errors) {
	switch_dad = (changes[0] - male_length) / (K - 2 * male_length);
	if (switch_dad < 0) switch_dad = 0;
	switch_mum = (changes[1] - female_length) / (K - 2 * female_length);
	if (switch_mum < 0) switch_mum = 0;
	switch_child = changes[2] / K;
	// A floor keeps the Viterbi scores finite.
	genotype_error = errors / K > 0 ? (float)(errors / K) : 1e-5f;
}

std::vector < float > TrioHMM::rates() const {
	return { switch_dad, switch_mum, switch_child, genotype_error };
}

int TrioHMM::estimateRecombination() {
	std::fill(recombination_dad.begin(), recombination_dad.end(), 0.0f);
	std::fill(recombination_mum.begin(), recombination_mum.end(), 0.0f);
	EM(NITERATION);
	estimateRecombination(dadptr, 4, male_rate, switch_dad, recombination_dad);
	estimateRecombination(mumptr, 2, female_rate, switch_mum, recombination_mum);
	return 0;
}

// Only the source states with c = 0 enter, and the factors of the other parent and of the
// child are left out.
void TrioHMM::estimateRecombination(const chaplotype * parent, int bit, float rate, float s, std::vector < float > & out) {
	forEachHeterozygousInterval(parent, K, [&](int p, int l) {
		float d = (cM[l] - cM[p]) / 100;
		if (d <= 0) d = 1e-13f;
		float rho = 1 - std::exp(- rate * d);
		float E[8];
		emissions(l, E);
		double same = 0, diff = 0;
		for (int i = 0 ; i < 8 ; i += 2) for (int j = 0 ; j < 8 ; j ++) {
			double w = alpha[p * 8 + i] * beta[l * 8 + j] * E[j];
			if ((i & bit) == (j & bit)) same += w;
			else diff += w;
		}
		float q = crossoverProbability(same, diff, rho, s, l, cM[l], cM[p], d, switch_dad, switch_mum);
		for (int m = p ; m < l ; m ++) out[m] = q;
	});
}
