#include "duohmm/pedigree_hmm.h"
#include "duohmm/geneticMap.h"
#include "duohmm/hmm_utils.h"

#include <cmath>

template < int N > pedigree_hmm < N >::pedigree_hmm(const std::vector < int > & positions, const geneticMap & map, const pedigree_hmm_variant & _variant) :
	K(positions.size()), NITERATION(100), genotype_error(0.0f), male_rate(0.753986776f), female_rate(1.24601316f), variant(_variant) {
	map.interpolate(positions, cM);
	male_length = cM[K - 1] * male_rate / 100;
	female_length = cM[K - 1] * female_rate / 100;
	recombinationFractions(cM, male_rate, recomb_male);
	recombinationFractions(cM, female_rate, recomb_female);
	error_probability.assign(K, 0.0f);
	alpha.assign(K * N, 0.0f);
	beta.assign(K * N, 0.0f);
	scale.assign(K, 0.0f);
	gamma.assign(K * N, 0.0f);
	xi.assign(K * N * N, 0.0f);
	backtrack.assign(K * N, 0);
	stateseq.assign(K, 0);
}

template < int N > void pedigree_hmm < N >::checkInterval(int) const {
}

template < int N > void pedigree_hmm < N >::emissions(int l, float * E) const {
	bool match[N];
	matches(l, match);
	for (int j = 0 ; j < N ; j ++) E[j] = match[j] ? 1 - genotype_error : genotype_error;
}

template < int N > void pedigree_hmm < N >::forward() {
	float E[N], T[N * N];
	emissions(0, E);
	float sum = 0;
	for (int j = 0 ; j < N ; j ++) sum += alpha[j] = E[j] / N;
	scale[0] = variant.scale_first ? 1 / sum : 1.0f;
	if (variant.scale_first) for (int j = 0 ; j < N ; j ++) alpha[j] *= scale[0];
	for (int l = 1 ; l < K ; l ++) {
		emissions(l, E);
		transitions(l - 1, T);
		const float * prev = &alpha[(l - 1) * N];
		float * cur = &alpha[l * N];
		sum = 0;
		for (int j = 0 ; j < N ; j ++) {
			float s = 0;
			for (int i = 0 ; i < N ; i ++) s += prev[i] * T[i * N + j];
			sum += cur[j] = E[j] * s;
		}
		scale[l] = 1 / sum;
		for (int j = 0 ; j < N ; j ++) cur[j] *= scale[l];
	}
}

template < int N > void pedigree_hmm < N >::backward() {
	float E[N], T[N * N], next[N];
	for (int j = 0 ; j < N ; j ++) beta[(K - 1) * N + j] = scale[K - 1];
	for (int l = K - 2 ; l >= 0 ; l --) {
		emissions(l + 1, E);
		transitions(l, T);
		for (int j = 0 ; j < N ; j ++) next[j] = E[j] * beta[(l + 1) * N + j];
		for (int i = 0 ; i < N ; i ++) {
			float s = 0;
			for (int j = 0 ; j < N ; j ++) s += T[i * N + j] * next[j];
			beta[l * N + i] = scale[l] * s;
		}
	}
}

template < int N > void pedigree_hmm < N >::estep() {
	forward();
	backward();
	for (int l = 0 ; l < K ; l ++) {
		float * g = &gamma[l * N];
		float sum = 0;
		for (int j = 0 ; j < N ; j ++) sum += g[j] = alpha[l * N + j] * beta[l * N + j];
		for (int j = 0 ; j < N ; j ++) g[j] /= sum;
	}
	float E[N], T[N * N];
	for (int l = 0 ; l + 1 < K ; l ++) {
		checkInterval(l);
		emissions(l + 1, E);
		transitions(l, T);
		float * x = &xi[l * N * N];
		float sum = 0;
		for (int i = 0 ; i < N ; i ++) for (int j = 0 ; j < N ; j ++)
			sum += x[i * N + j] = alpha[l * N + i] * beta[(l + 1) * N + j] * T[i * N + j] * E[variant.xi_source_emission ? i : j];
		for (int k = 0 ; k < N * N ; k ++) x[k] /= sum;
	}
}

template < int N > void pedigree_hmm < N >::mstep() {
	double errors = 0;
	for (int l = 0 ; l < K ; l ++) {
		bool match[N];
		matches(l, match);
		double e = 0;
		for (int j = 0 ; j < N ; j ++) if (!match[j]) e += gamma[l * N + j];
		error_probability[l] = e;
		errors += e;
	}
	const int nbits = variant.change_bits.size();
	std::vector < double > changes (nbits, 0.0);
	for (int l = 0 ; l + 1 < K ; l ++) {
		const float * x = &xi[l * N * N];
		for (int i = 0 ; i < N ; i ++) for (int j = 0 ; j < N ; j ++)
			for (int b = 0 ; b < nbits ; b ++) if ((i ^ j) & variant.change_bits[b]) changes[b] += x[i * N + j];
	}
	fitRates(changes.data(), errors);
}

template < int N > int pedigree_hmm < N >::EM(int n) {
	for (int round = 1 ; round <= n ; round ++) {
		std::vector < float > before = rates();
		estep();
		mstep();
		if (round == n) break;
		std::vector < float > after = rates();
		float change = 0;
		for (unsigned int r = 0 ; r < after.size() ; r ++) change += std::fabs(after[r] - before[r]);
		if (change <= 1e-5f) break;
	}
	return 0;
}

// In log space, the scores kept in alpha.
template < int N > int pedigree_hmm < N >::viterbi() {
	std::fill(backtrack.begin(), backtrack.end(), 0);
	const float le = std::log(genotype_error), l1 = std::log(1 - genotype_error);
	std::vector < float > cand (N);
	bool match[N];
	matches(0, match);
	for (int j = 0 ; j < N ; j ++) alpha[j] = (match[j] ? l1 : le) - variant.viterbi_offset;
	float T[N * N];
	for (int l = 1 ; l < K ; l ++) {
		transitions(l - 1, T);
		for (int k = 0 ; k < N * N ; k ++) T[k] = std::log(T[k]);
		matches(l, match);
		for (int j = 0 ; j < N ; j ++) {
			for (int i = 0 ; i < N ; i ++) cand[i] = T[i * N + j] + alpha[(l - 1) * N + i];
			int b = argmax(cand);
			backtrack[l * N + j] = b;
			alpha[l * N + j] = cand[b] + (match[j] ? l1 : le);
		}
	}
	for (int j = 0 ; j < N ; j ++) cand[j] = alpha[(K - 1) * N + j];
	stateseq[K - 1] = argmax(cand);
	for (int l = K - 2 ; l >= 0 ; l --) stateseq[l] = backtrack[(l + 1) * N + stateseq[l + 1]];
	return 0;
}

template class pedigree_hmm < 4 >;
template class pedigree_hmm < 8 >;
