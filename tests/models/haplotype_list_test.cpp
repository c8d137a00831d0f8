#include "models/haplotype_list.h"
#include "utils/putils.h"

#include <functional>
#include <gtest/gtest.h>
#include <numeric>

// Forward and backward give the likelihood of the enumeration of all state paths (start
// uniform, stay with nrec, jump to any state with recN, emit where the mask allows), with
// and without a site mask; columns are normalised; the mismatch posteriors lie in [0, 1],
// and are added only at the sites of the mask. One conditioning haplotype: every column is 1.
TEST(haplotype_list, PassesMatchEnumeration) {
	putils::initRandom(8);
	const int L = 7;
	std::vector < chaplotype > H(6, chaplotype(L));
	for (chaplotype & h : H) for (int l = 0 ; l < L ; l ++) h.set(l, putils::getRandom() < 0.4);
	hmm_parameters M;
	for (std::vector < double > * v : { &M.t, &M.rec, &M.recN, &M.nrec }) v->resize(L - 1);
	for (double & t : M.t) t = 0.05 + putils::getRandom();
	M.update(4, 4);
	std::vector < bool > cond = { 1, 0, 1, 1, 0, 1 }, every(L, true), some = { 1, 0, 1, 1, 0, 0, 1 };
	const std::vector < int > idx = { 0, 2, 3, 5 };
	haplotype_list HL(H, cond);
	EXPECT_EQ(HL.idx, idx);
	const chaplotype & h = H[4];
	for (const std::vector < bool > * mask : { &every, &some }) {
		double like = 0.0;
		std::vector < int > path;
		std::function < void (double) > walk = [&](double p) {
			const int l = path.size();
			if (l == L) return (void)(like += p);
			for (int k = 0 ; k < 4 ; k ++) {
				double q = l ? p * ((k == path.back() ? M.nrec[l - 1] : 0.0) + M.recN[l - 1]) : p / 4;
				path.push_back(k);
				walk((*mask)[l] ? q * (h[l] == H[idx[k]][l] ? M.ed : M.ee) : q);
				path.pop_back();
			}
		};
		walk(1.0);
		std::vector < std::vector < double > > alpha, beta;
		std::vector < double > fs, bs, result(L, 0.5);
		if (mask == &every) HL.forward(h, M, alpha, fs), HL.backward(h, M, beta, bs), HL.expectation(h, M, result);
		else HL.forward(h, M, *mask, alpha, fs), HL.backward(h, M, *mask, beta, bs), HL.expectation(h, M, *mask, result);
		EXPECT_NEAR(std::accumulate(fs.begin(), fs.end(), 1.0, std::multiplies < double > ()) / like, 1.0, 1e-12);
		EXPECT_NEAR(std::accumulate(bs.begin(), bs.end(), 1.0, std::multiplies < double > ()) / like, 1.0, 1e-12);
		for (int l = 0 ; l < L ; l ++) {
			EXPECT_NEAR(std::accumulate(alpha[l].begin(), alpha[l].end(), 0.0), 1.0, 1e-12);
			EXPECT_NEAR(std::accumulate(beta[l].begin(), beta[l].end(), 0.0), 1.0, 1e-12);
			EXPECT_TRUE((*mask)[l] ? result[l] >= 0.5 && result[l] <= 1.5 : result[l] == 0.5) << l;
		}
	}
	std::vector < bool > one = { 0, 0, 1, 0, 0, 0 };
	std::vector < std::vector < double > > alpha;
	std::vector < double > sums;
	haplotype_list(H, one).forward(h, M, alpha, sums);
	for (const std::vector < double > & column : alpha) EXPECT_EQ(column, std::vector < double > (1, 1.0));
}
