#include "duohmm/DuoHMM.h"
#include "duohmm/hmm_utils.h"
#include "utils/assertion.h"
#include "utils/myException.h"

#include <cmath>
#include <cstdlib>

DuoHMM::DuoHMM(const std::vector < int > & positions, const geneticMap & map) :
	K(positions.size()), NSTATE(4), NITERATION(100), parental_haplotypes(NULL), child_haplotypes(NULL),
	male_rate(0.753986776f), female_rate(1.24601316f), recomb(NULL) {
	map.interpolate(positions, cM);
	male_length = cM[K - 1] * male_rate / 100;
	female_length = cM[K - 1] * female_rate / 100;
	length = male_length;
	rate = male_rate;
	recombinationFractions(cM, male_rate, recomb_male, norecomb_male);
	recombinationFractions(cM, female_rate, recomb_female, norecomb_female);
	recombination_probability.assign(K, 0.0f);
	error_probability.assign(K, 0.0f);
	alpha.assign(K * 4, 0.0f);
	beta.assign(K * 4, 0.0f);
	scale.assign(K, 0.0f);
	gamma.assign(K * 4, 0.0f);
	xi.assign(K * 16, 0.0f);
	backtrack.assign(K * 4, 0);
	stateseq.assign(K, 0);
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

void DuoHMM::setIterations(int n) {
	NITERATION = n;
}

void DuoHMM::matches(int l, bool * match) const {
	for (int j = 0 ; j < 4 ; j ++) match[j] = parental_haplotypes[j >> 1].get(l) == child_haplotypes[j & 1].get(l);
}

void DuoHMM::emissions(int l, float * E) const {
	bool match[4];
	matches(l, match);
	for (int j = 0 ; j < 4 ; j ++) E[j] = match[j] ? 1 - genotype_error : genotype_error;
}

void DuoHMM::transitions(float r, float * T) const {
	const float A[2] = { stayProbability(r, switch_parent), changeProbability(r, switch_parent) };
	const float B[2] = { 1 - switch_child, switch_child };
	for (int i = 0 ; i < 4 ; i ++) for (int j = 0 ; j < 4 ; j ++) T[i * 4 + j] = A[(i >> 1) != (j >> 1)] * B[(i & 1) != (j & 1)];
}

void DuoHMM::forward() {
	float E[4], T[16];
	emissions(0, E);
	float sum = 0;
	for (int j = 0 ; j < 4 ; j ++) sum += alpha[j] = E[j] / 4;
	scale[0] = 1 / sum;
	for (int j = 0 ; j < 4 ; j ++) alpha[j] *= scale[0];
	for (int l = 1 ; l < K ; l ++) {
		emissions(l, E);
		transitions(recomb[l - 1], T);
		const float * prev = &alpha[(l - 1) * 4];
		float * cur = &alpha[l * 4];
		sum = 0;
		for (int j = 0 ; j < 4 ; j ++) {
			cur[j] = E[j] * (prev[0] * T[j] + prev[1] * T[4 + j] + prev[2] * T[8 + j] + prev[3] * T[12 + j]);
			sum += cur[j];
		}
		scale[l] = 1 / sum;
		for (int j = 0 ; j < 4 ; j ++) cur[j] *= scale[l];
	}
}

void DuoHMM::backward() {
	float E[4], T[16];
	for (int j = 0 ; j < 4 ; j ++) beta[(K - 1) * 4 + j] = scale[K - 1];
	for (int l = K - 2 ; l >= 0 ; l --) {
		emissions(l + 1, E);
		transitions(recomb[l], T);
		float next[4];
		for (int j = 0 ; j < 4 ; j ++) next[j] = E[j] * beta[(l + 1) * 4 + j];
		for (int i = 0 ; i < 4 ; i ++)
			beta[l * 4 + i] = scale[l] * (T[i * 4] * next[0] + T[i * 4 + 1] * next[1] + T[i * 4 + 2] * next[2] + T[i * 4 + 3] * next[3]);
	}
}

void DuoHMM::estep() {
	forward();
	backward();
	for (int l = 0 ; l < K ; l ++) {
		float * g = &gamma[l * 4];
		float sum = 0;
		for (int j = 0 ; j < 4 ; j ++) sum += g[j] = alpha[l * 4 + j] * beta[l * 4 + j];
		for (int j = 0 ; j < 4 ; j ++) g[j] /= sum;
	}
	float E[4], T[16];
	for (int l = 0 ; l + 1 < K ; l ++) {
		if (recomb[l] < 0 || recomb[l] >= 1)
			throw myException("Pedigree refinement: bad recombination rate at marker " + std::to_string(l) + " rho = " + std::to_string(recomb[l]) + " (" + std::to_string(cM[l]) + " cM to " + std::to_string(cM[l + 1]) + " cM)");
		emissions(l + 1, E);
		transitions(recomb[l], T);
		float * x = &xi[l * 16];
		float sum = 0;
		for (int i = 0 ; i < 4 ; i ++) for (int j = 0 ; j < 4 ; j ++)
			sum += x[i * 4 + j] = alpha[l * 4 + i] * beta[(l + 1) * 4 + j] * T[i * 4 + j] * E[j];
		for (int k = 0 ; k < 16 ; k ++) x[k] /= sum;
	}
}

// The expected parental changes beyond those the map accounts for make the parental switch
// rate; true recombinations are not switch errors.
void DuoHMM::mstep() {
	double total = 0, n_parent = 0, n_child = 0;
	for (int l = 0 ; l < K ; l ++) {
		bool match[4];
		matches(l, match);
		double e = 0;
		for (int j = 0 ; j < 4 ; j ++) if (!match[j]) e += gamma[l * 4 + j];
		error_probability[l] = e;
		total += e;
	}
	for (int l = 0 ; l + 1 < K ; l ++) {
		const float * x = &xi[l * 16];
		for (int i = 0 ; i < 4 ; i ++) for (int j = 0 ; j < 4 ; j ++) {
			if ((i >> 1) != (j >> 1)) n_parent += x[i * 4 + j];
			if ((i & 1) != (j & 1)) n_child += x[i * 4 + j];
		}
	}
	switch_parent = (n_parent - length) / (K - 2 * length);
	if (switch_parent < 0) switch_parent = 0;
	switch_child = n_child / K;
	genotype_error = total / K;
}

int DuoHMM::EM(int n) {
	for (int round = 1 ; round <= n ; round ++) {
		float s = switch_parent, t = switch_child, e = genotype_error;
		estep();
		mstep();
		if (round == n) break;
		if (std::fabs(switch_parent - s) + std::fabs(switch_child - t) + std::fabs(genotype_error - e) <= 1e-5f) break;
	}
	return 0;
}

// In log space, the scores kept in alpha.
int DuoHMM::viterbi() {
	std::fill(backtrack.begin(), backtrack.end(), 0);
	const float le = std::log(genotype_error), l1 = std::log(1 - genotype_error);
	std::vector < float > cand (4);
	bool match[4];
	matches(0, match);
	for (int j = 0 ; j < 4 ; j ++) alpha[j] = (match[j] ? l1 : le) - std::log(4.0f);
	for (int l = 1 ; l < K ; l ++) {
		float T[16];
		transitions(recomb[l - 1], T);
		for (int k = 0 ; k < 16 ; k ++) T[k] = std::log(T[k]);
		matches(l, match);
		for (int j = 0 ; j < 4 ; j ++) {
			for (int i = 0 ; i < 4 ; i ++) cand[i] = T[i * 4 + j] + alpha[(l - 1) * 4 + i];
			int b = argmax(cand);
			backtrack[l * 4 + j] = b;
			alpha[l * 4 + j] = cand[b] + (match[j] ? l1 : le);
		}
	}
	for (int j = 0 ; j < 4 ; j ++) cand[j] = alpha[(K - 1) * 4 + j];
	stateseq[K - 1] = argmax(cand);
	for (int l = K - 2 ; l >= 0 ; l --) stateseq[l] = backtrack[(l + 1) * 4 + stateseq[l + 1]];
	return 0;
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
