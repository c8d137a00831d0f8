#include "duohmm/TrioHMM.h"
#include "duohmm/hmm_utils.h"
#include "utils/assertion.h"

#include <cmath>

TrioHMM::TrioHMM(const std::vector < int > & positions, const geneticMap & map) :
	K(positions.size()), NSTATE(8), NITERATION(100), dadptr(NULL), mumptr(NULL), childptr(NULL),
	male_rate(0.753986776f), female_rate(1.24601316f) {
	map.interpolate(positions, cM);
	male_length = cM[K - 1] * male_rate / 100;
	female_length = cM[K - 1] * female_rate / 100;
	recombinationFractions(cM, male_rate, recomb_male, norecomb_male);
	recombinationFractions(cM, female_rate, recomb_female, norecomb_female);
	recombination_mum.assign(K, 0.0f);
	recombination_dad.assign(K, 0.0f);
	alpha.assign(K * 8, 0.0f);
	beta.assign(K * 8, 0.0f);
	scale.assign(K, 0.0f);
	gamma.assign(K * 8, 0.0f);
	xi.assign(K * 64, 0.0f);
	error_probability.assign(K, 0.0f);
	backtrack.assign(K * 8, 0);
	stateseq.assign(K, 0);
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

void TrioHMM::setIterations(int n) {
	NITERATION = n;
}

void TrioHMM::matches(int l, bool * match) const {
	const int c0 = childptr[0].get(l), c1 = childptr[1].get(l);
	for (int j = 0 ; j < 8 ; j ++) {
		const int d = dadptr[j >> 2].get(l), m = mumptr[(j >> 1) & 1].get(l);
		match[j] = (j & 1) ? (c1 == d && c0 == m) : (c0 == d && c1 == m);
	}
}

void TrioHMM::emissions(int l, float * E) const {
	bool match[8];
	matches(l, match);
	for (int j = 0 ; j < 8 ; j ++) E[j] = match[j] ? 1 - genotype_error : genotype_error;
}

void TrioHMM::transitions(int l, float * T) const {
	const float F[2] = { stayProbability(recomb_male[l], switch_dad), changeProbability(recomb_male[l], switch_dad) };
	const float M[2] = { stayProbability(recomb_female[l], switch_mum), changeProbability(recomb_female[l], switch_mum) };
	const float C[2] = { 1 - switch_child, switch_child };
	for (int i = 0 ; i < 8 ; i ++) for (int j = 0 ; j < 8 ; j ++)
		T[i * 8 + j] = F[(i >> 2) != (j >> 2)] * M[((i >> 1) & 1) != ((j >> 1) & 1)] * C[(i & 1) != (j & 1)];
}

// The first site is left unscaled.
void TrioHMM::forward() {
	float E[8], T[64];
	emissions(0, E);
	for (int j = 0 ; j < 8 ; j ++) alpha[j] = E[j] / 8;
	scale[0] = 1.0f;
	for (int l = 1 ; l < K ; l ++) {
		emissions(l, E);
		transitions(l - 1, T);
		const float * prev = &alpha[(l - 1) * 8];
		float * cur = &alpha[l * 8];
		float sum = 0;
		for (int j = 0 ; j < 8 ; j ++) {
			float s = 0;
			for (int i = 0 ; i < 8 ; i ++) s += T[i * 8 + j] * prev[i];
			sum += cur[j] = s * E[j];
		}
		scale[l] = 1 / sum;
		for (int j = 0 ; j < 8 ; j ++) cur[j] *= scale[l];
	}
}

void TrioHMM::backward() {
	float E[8], T[64], next[8];
	for (int j = 0 ; j < 8 ; j ++) beta[(K - 1) * 8 + j] = scale[K - 1];
	for (int l = K - 2 ; l >= 0 ; l --) {
		emissions(l + 1, E);
		transitions(l, T);
		for (int j = 0 ; j < 8 ; j ++) next[j] = E[j] * beta[(l + 1) * 8 + j];
		for (int i = 0 ; i < 8 ; i ++) {
			float s = 0;
			for (int j = 0 ; j < 8 ; j ++) s += T[i * 8 + j] * next[j];
			beta[l * 8 + i] = scale[l] * s;
		}
	}
}

// The emission in xi is that of the source state at the later site, unlike DuoHMM; the
// fitted switch rates follow from this choice, which is kept.
void TrioHMM::estep() {
	forward();
	backward();
	for (int l = 0 ; l < K ; l ++) {
		float * g = &gamma[l * 8];
		float sum = 0;
		for (int j = 0 ; j < 8 ; j ++) sum += g[j] = alpha[l * 8 + j] * beta[l * 8 + j];
		for (int j = 0 ; j < 8 ; j ++) g[j] /= sum;
	}
	float E[8], T[64];
	for (int l = 1 ; l < K ; l ++) {
		emissions(l, E);
		transitions(l - 1, T);
		float * x = &xi[(l - 1) * 64];
		float sum = 0;
		for (int i = 0 ; i < 8 ; i ++) for (int j = 0 ; j < 8 ; j ++)
			sum += x[i * 8 + j] = alpha[(l - 1) * 8 + i] * beta[l * 8 + j] * T[i * 8 + j] * E[i];
		for (int k = 0 ; k < 64 ; k ++) x[k] /= sum;
	}
}

void TrioHMM::mstep() {
	double total = 0, n_dad = 0, n_mum = 0, n_child = 0;
	for (int l = 0 ; l < K ; l ++) {
		bool match[8];
		matches(l, match);
		double e = 0;
		for (int j = 0 ; j < 8 ; j ++) if (!match[j]) e += gamma[l * 8 + j];
		error_probability[l] = e;
		total += e;
	}
	for (int l = 0 ; l + 1 < K ; l ++) {
		const float * x = &xi[l * 64];
		for (int i = 0 ; i < 8 ; i ++) for (int j = 0 ; j < 8 ; j ++) {
			int changed = i ^ j;
			if (changed & 4) n_dad += x[i * 8 + j];
			if (changed & 2) n_mum += x[i * 8 + j];
			if (changed & 1) n_child += x[i * 8 + j];
		}
	}
	switch_dad = (n_dad - male_length) / (K - 2 * male_length);
	if (switch_dad < 0) switch_dad = 0;
	switch_mum = (n_mum - female_length) / (K - 2 * female_length);
	if (switch_mum < 0) switch_mum = 0;
	switch_child = n_child / K;
	// A floor keeps the Viterbi scores finite.
	genotype_error = total / K > 0 ? (float)(total / K) : 1e-5f;
}

int TrioHMM::EM(int n) {
	for (int round = 1 ; round <= n ; round ++) {
		float sd = switch_dad, sm = switch_mum, t = switch_child, e = genotype_error;
		estep();
		mstep();
		if (round == n) break;
		if (std::fabs(switch_dad - sd) + std::fabs(switch_mum - sm) + std::fabs(switch_child - t) + std::fabs(genotype_error - e) <= 1e-5f) break;
	}
	return 0;
}

// In log space, the scores kept in alpha. The initial scores subtract the state count itself
// rather than its logarithm: all states are shifted alike, so the path is the same.
int TrioHMM::viterbi() {
	std::fill(backtrack.begin(), backtrack.end(), 0);
	const float le = std::log(genotype_error), l1 = std::log(1 - genotype_error);
	std::vector < float > cand (8);
	bool match[8];
	matches(0, match);
	for (int j = 0 ; j < 8 ; j ++) alpha[j] = (match[j] ? l1 : le) - 8.0f;
	float T[64];
	for (int l = 1 ; l < K ; l ++) {
		transitions(l - 1, T);
		for (int k = 0 ; k < 64 ; k ++) T[k] = std::log(T[k]);
		matches(l, match);
		for (int j = 0 ; j < 8 ; j ++) {
			for (int i = 0 ; i < 8 ; i ++) cand[i] = T[i * 8 + j] + alpha[(l - 1) * 8 + i];
			int b = argmax(cand);
			backtrack[l * 8 + j] = b;
			alpha[l * 8 + j] = cand[b] + (match[j] ? l1 : le);
		}
	}
	for (int j = 0 ; j < 8 ; j ++) cand[j] = alpha[(K - 1) * 8 + j];
	stateseq[K - 1] = argmax(cand);
	for (int l = K - 2 ; l >= 0 ; l --) stateseq[l] = backtrack[(l + 1) * 8 + stateseq[l + 1]];
	return 0;
}

int TrioHMM::estimateRecombination() {
	std::fill(recombination_dad.begin(), recombination_dad.end(), 0.0f);
	std::fill(recombination_mum.begin(), recombination_mum.end(), 0.0f);
	EM(NITERATION);
	estimateRecombinationDad();
	estimateRecombinationMum();
	return 0;
}

void TrioHMM::estimateRecombinationDad() {
	estimateRecombination(dadptr, 4, male_rate, switch_dad, recombination_dad);
}

void TrioHMM::estimateRecombinationMum() {
	estimateRecombination(mumptr, 2, female_rate, switch_mum, recombination_mum);
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
