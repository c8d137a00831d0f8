#ifndef _DUOHMM_TEST_UTILS_H
#define _DUOHMM_TEST_UTILS_H

#include "objects/chaplotype.h"

#include <cmath>
#include <functional>
#include <string>
#include <vector>

// Exact sums over all N^K state paths of a small HMM: the likelihood, the posterior of each
// state at each site, the pair sums of xi weighted by xiWeight(i, j, l) (for the step from
// site l to l + 1), and the most likely path (the lowest path in enumeration order on ties).
struct enumeration {
	double likelihood = 0;
	std::vector < std::vector < double > > gamma;
	std::vector < std::vector < double > > xi;
	std::vector < int > best;
};

inline enumeration enumerate(int N, int K, std::function < double (int, int) > E, std::function < double (int, int, int) > T, std::function < double (int, int, int) > xiWeight) {
	enumeration r;
	r.gamma.assign(K, std::vector < double > (N, 0));
	r.xi.assign(K, std::vector < double > (N * N, 0));
	std::vector < int > path (K, 0);
	double best = -1;
	long total = std::lround(std::pow(N, K));
	for (long code = 0 ; code < total ; code ++) {
		long c = code;
		for (int l = K - 1 ; l >= 0 ; l --) {
			path[l] = c % N;
			c /= N;
		}
		double p = E(path[0], 0) / N;
		for (int l = 1 ; l < K ; l ++) p *= T(path[l - 1], path[l], l - 1) * E(path[l], l);
		r.likelihood += p;
		for (int l = 0 ; l < K ; l ++) r.gamma[l][path[l]] += p;
		for (int l = 0 ; l + 1 < K ; l ++) r.xi[l][path[l] * N + path[l + 1]] += p * xiWeight(path[l], path[l + 1], l);
		if (p > best * (1 + 1e-9)) {
			best = p;
			r.best = path;
		}
	}
	for (int l = 0 ; l < K ; l ++) {
		for (double & g : r.gamma[l]) g /= r.likelihood;
		double sum = 0;
		for (double x : r.xi[l]) sum += x;
		for (double & x : r.xi[l]) x /= sum;
	}
	return r;
}

// A haplotype pair from two strings of 0 and 1.
inline std::vector < chaplotype > pairOf(const std::string & a, const std::string & b) {
	std::vector < chaplotype > h (2, chaplotype(a.size()));
	for (unsigned int l = 0 ; l < a.size() ; l ++) {
		h[0].set(l, a[l] == '1');
		h[1].set(l, b[l] == '1');
	}
	return h;
}

#endif
