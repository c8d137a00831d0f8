#include "models/haplotype_list.h"
#include "utils/putils.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>

namespace {

struct Lists {
	std::vector < chaplotype > H;
	hmm_parameters M;

	Lists(int K, int L) : H(K, chaplotype(L)) {
		for (chaplotype & h : H) for (int l = 0 ; l < L ; l ++) h.set(l, putils::getRandom() < 0.4);
		for (std::vector < double > * v : { &M.t, &M.rec, &M.recN, &M.nrec }) v->resize(L - 1);
		for (double & t : M.t) t = 0.05 + putils::getRandom();
	}

	// Likelihood of h by the sum over all state paths: start uniform, stay with nrec, jump to
	// any state with recN, emit where the mask allows.
	double brute(const chaplotype & h, const std::vector < int > & idx, const std::vector < bool > & mask) const {
		const int K = idx.size(), L = h.size();
		double total = 0.0;
		std::vector < int > path;
		std::function < void (double) > walk = [&](double p) {
			const int l = path.size();
			if (l == L) return (void)(total += p);
			for (int k = 0 ; k < K ; k ++) {
				double q = l ? p * ((k == path.back() ? M.nrec[l - 1] : 0.0) + M.recN[l - 1]) : p / K;
				if (mask[l]) q *= h[l] == H[idx[k]][l] ? M.ed : M.ee;
				path.push_back(k);
				walk(q);
				path.pop_back();
			}
		};
		walk(1.0);
		return total;
	}
};

double product(const std::vector < double > & v) {
	double p = 1.0;
	for (double x : v) p *= x;
	return p;
}

}

// Forward and backward give the likelihood of the enumeration of all state paths, with and
// without a site mask; columns are normalised; the mismatch posteriors lie in [0, 1], and
// are added only at the sites of the mask.
TEST(haplotype_list, PassesMatchEnumeration) {
	putils::initRandom(8);
	Lists x(6, 7);
	std::vector < bool > cond = { 1, 0, 1, 1, 0, 1 }, every(7, true), some = { 1, 0, 1, 1, 0, 0, 1 };
	const std::vector < int > idx = { 0, 2, 3, 5 };
	x.M.update(4, 4);
	haplotype_list HL(x.H, cond);
	EXPECT_EQ(HL.idx, idx);
	chaplotype h = x.H[4];
	for (const std::vector < bool > * mask : { &every, &some }) {
		std::vector < std::vector < double > > alpha, beta;
		std::vector < double > fs, bs, result(7, 0.5);
		if (mask == &every) {
			HL.forward(h, x.M, alpha, fs);
			HL.backward(h, x.M, beta, bs);
			HL.expectation(h, x.M, result);
		} else {
			HL.forward(h, x.M, *mask, alpha, fs);
			HL.backward(h, x.M, *mask, beta, bs);
			HL.expectation(h, x.M, *mask, result);
		}
		const double like = x.brute(h, idx, *mask);
		EXPECT_NEAR(product(fs) / like, 1.0, 1e-12);
		EXPECT_NEAR(product(bs) / like, 1.0, 1e-12);
		for (int l = 0 ; l < 7 ; l ++) {
			double a = 0.0, b = 0.0;
			for (int k = 0 ; k < 4 ; k ++) {
				a += alpha[l][k];
				b += beta[l][k];
			}
			EXPECT_NEAR(a, 1.0, 1e-12);
			EXPECT_NEAR(b, 1.0, 1e-12);
			if ((*mask)[l]) {
				EXPECT_GE(result[l], 0.5);
				EXPECT_LE(result[l], 1.5);
			} else EXPECT_EQ(result[l], 0.5);
		}
	}
	// One conditioning haplotype: every column is 1.
	std::vector < bool > one = { 0, 0, 1, 0, 0, 0 };
	haplotype_list single(x.H, one);
	std::vector < std::vector < double > > alpha;
	std::vector < double > sums;
	single.forward(h, x.M, alpha, sums);
	for (const std::vector < double > & column : alpha) EXPECT_EQ(column, std::vector < double > (1, 1.0));
}
