#include "duohmm/DuoHMM.h"
#include "duohmm/geneticMap.h"
#include "duohmm/hmm_utils.h"
#include "objects/chaplotype.h"
#include "utils/assertion.h"
#include "utils/myException.h"

#include <cmath>

// The E step takes the emission of the target state; Viterbi starts from log(1/4).
DuoHMM::DuoHMM(const std::vector < int > & positions, const geneticMap & map) :
	pedigree_hmm(positions, map, pedigree_hmm_variant { { 2, 1 }, true, false, std::log(4.0f) }),
	parental_haplotypes(NULL), child_haplotypes(NULL), recomb(NULL) {
	length = male_length;
	rate = male_rate;
	recombination_probability.assign(K, 0.0f);
	genotype_error = 0.001f;
	switch_parent = switch_child = 0.0005f;
}

int DuoHMM::setHaps(const chaplotype * parent, const chaplotype * child, const std::string & sex) {
	sorvane_assert(parent != NULL && child != NULL && (sex == "1" || sex == "2"));
	parental_haplotypes = parent;
	child_haplotypes = child;
	bool male = sex == "1";
	recomb = male ? recomb_male.data() : recomb_female.data();
	length = male ? male_length : female_length;
	rate = male ? male_rate : female_rate;
	genotype_error = 0.001f;
	switch_parent = switch_child = 0.0005f;
	return 0;
}

void DuoHMM::matches(int l, bool * match) const {
	for (int j = 0 ; j < 4 ; j ++) match[j] = parental_haplotypes[j >> 1].get(l) == child_haplotypes[j & 1].get(l);
}

void DuoHMM::transitions(int l, float * T) const {
	const float r = recomb[l];
	const float A[2] = { stayProbability(r, switch_parent), changeProbability(r, switch_parent) };
	const float B[2] = { 1 - switch_child, switch_child };
	for (int i = 0 ; i < 4 ; i ++) for (int j = 0 ; j < 4 ; j ++) T[i * 4 + j] = A[(i >> 1) != (j >> 1)] * B[(i & 1) != (j & 1)];
}

void DuoHMM::checkInterval(int l) const {
	if (recomb[l] < 0 || recomb[l] >= 1)
		throw myException("Pedigree refinement: bad recombination rate at marker " + std::to_string(l) + " rho = " + std::to_string(recomb[l]) + " (" + std::to_string(cM[l]) + " cM to " + std::to_string(cM[l + 1]) + " cM)");
}

// The expected parental changes beyond those the map accounts for make the parental switch
// rate; true recombinations are not switch errors.
void DuoHMM::fitRates(const double * changes, double errors) {
	switch_parent = (changes[0] - length) / (K - 2 * length);
	if (switch_parent < 0) switch_parent = 0;
	switch_child = changes[1] / K;
	genotype_error = errors / K;
}

std::vector < float > DuoHMM::rates() const {
	return { switch_parent, switch_child, genotype_error };
}

// Combines the alpha and beta of the last E step with the parameters of the last M step.
int DuoHMM::estimateRecombination() {
	std::fill(recombination_probability.begin(), recombination_probability.end(), 0.0f);
	EM(NITERATION);
	forEachHeterozygousInterval(parental_haplotypes, K, [this](int p, int l) {
		float d = (cM[l] - cM[p]) * rate / 100;
		if (d <= 0) d = 1e-13f;
		float rho = 1 - std::exp(-d);
		const float B[2] = { 1 - switch_child, switch_child };
		float E[4];
		emissions(l, E);
		double same = 0, diff = 0;
		for (int i = 0 ; i < 4 ; i ++) for (int j = 0 ; j < 4 ; j ++) {
			double w = alpha[p * 4 + i] * E[j] * beta[l * 4 + j] * B[(i & 1) != (j & 1)];
			if ((i >> 1) == (j >> 1)) same += w;
			else diff += w;
		}
		float q = crossoverProbability(same, diff, rho, switch_parent, l, cM[l], cM[p], d, switch_parent, switch_child);
		for (int m = p ; m < l ; m ++) recombination_probability[m] = q;
	});
	return 0;
}
