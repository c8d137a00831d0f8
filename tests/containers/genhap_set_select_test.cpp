#include "containers/genhap_set_test_utils.h"

#include <gtest/gtest.h>

using genhaptest::plain;
using graphtest::randomBits;
using genhaptest::Study;

// Hamming takes the nearest allowed haplotypes by byte distance, matching the first ones sharing a whole byte.
TEST(genhap_set_select, NearestAndMatching) {
	putils::initRandom(42);
	for (int rep = 0 ; rep < 40 ; rep ++) {
		Study U(plain(std::vector < int > (80, 1)), 120);
		U.mutatedCopies();
		const int H = 80, ind = putils::getRandom(H), states = 1 + putils::getRandom(12), left = putils::getRandom(100), right = left + putils::getRandom(120 - left);
		const chaplotype & t = U.GH.vecH[ind];
		std::vector < bool > input = randomBits(H, 0.7), before = randomBits(H, 0.1), hamming = before, match = before;
		U.GH.subsetHaplotypes_hamming_ALL(input, ind, states, left, right, hamming);
		U.GH.subsetHaplotypes_pfmatch_ALL(input, ind, states, left, right, match);
		int n_pool = 0, n_new = 0, worst_in = -1, best_out = 1000000, n_match = 0;
		for (int h = 0 ; h < H ; h ++) {
			EXPECT_TRUE((!before[h] && input[h]) || (hamming[h] == before[h] && match[h] == before[h])) << h;
			if (before[h] || !input[h]) continue;
			n_pool ++;
			const int d = U.GH.vecH[h].hamming(t, left, right);
			if (hamming[h]) n_new ++, worst_in = std::max(worst_in, d);
			else best_out = std::min(best_out, d);
			const bool shares = U.GH.vecH[h].perfectmatch(t, left, right, 0) > 0;
			EXPECT_EQ(match[h], shares && n_match < states) << h;
			n_match += shares;
		}
		EXPECT_TRUE(n_new == std::min(states, n_pool) && worst_in <= best_out) << rep;
	}
}

// The longest run of agreement through a site: with haplotype 2's zeros, 3 agrees from site 1 on, 6 and 7 at 0.
TEST(genhap_set_select, Coverage) {
	Study U(plain({ 2, 1, 1, 1, 1, 1, 1, 1 }), 16);
	U.set(1, std::string(16, '1'));
	U.set(3, "1000000000000000");
	U.set(6, "0111111111111111");
	U.set(7, "0011111111111111");
	std::vector < bool > runs = { 0, 0, 0, 1, 0, 0, 1, 1, 0 }, covered;
	U.GH.subsetHaplotypes_pfmatchcov_ALL(runs, 1, 1, 0, 15, covered);
	EXPECT_EQ(covered, std::vector < bool > ({ 0, 0, 0, 1, 0, 0, 0, 0, 0 }));
}

// Against a count with the same draws, in and across 64-site words: sites where one haplotype alone matches decide.
TEST(genhap_set_select, IdentityByDescentRule) {
	putils::initRandom(13);
	for (int rep = 0 ; rep < 200 ; rep ++) {
		const int L = 300;
		std::vector < chaplotype > h(4, chaplotype(L));
		for (chaplotype & x : h) for (int l = 0 ; l < L ; l ++) x.set(l, putils::getRandom() < (rep % 2 ? 0.1 : 0.5));
		const int left = putils::getRandom(L), right = std::min(L - 1, left + putils::getRandom(3 * (rep % 5) * 40 + 2));
		int both = 0, first = 0, second = 0;
		for (int l = left ; l <= right ; l ++) {
			const bool m0 = h[0][l] == h[2][l], m1 = h[1][l] == h[3][l];
			if (h[0][l] == h[1][l] && m0 && m1) continue;
			both += m0 && m1;
			first += m0 && !m1;
			second += !m0 && m1;
		}
		putils::initRandom(1000 + rep);
		const int got = non_overlapping_hamming_distance(h[0], h[1], h[2], h[3], left, right);
		putils::initRandom(1000 + rep);
		const double r1 = putils::getRandom(), r2 = putils::getRandom();
		const bool x = (double)first / (first + both) > r1, y = (double)second / (second + both) > r2;
		EXPECT_EQ(got, x && y ? 2 : x ? 0 : y ? 1 : -1) << left << " " << right;
	}
	EXPECT_EQ(non_overlapping_hamming_distance(chaplotype(8), chaplotype(8), chaplotype(8), chaplotype(8), 3, 2), -1);
}

// A duo, an unrelated of its family and a trio: at least the minimum, never the family (exact copies), never closed.
TEST(genhap_set_select, ConditioningSetsLeaveOutTheFamily) {
	putils::initRandom(9);
	Study U(plain({ 3, 2, 2, 4, 1, 2, 2, 2, 2, 2, 2 }, { 0, 0, 0, 1, 1, 2, 3, 4, 5, 6, 7 }), 40);
	U.mutatedCopies();
	genhap_set & GH = U.GH;
	const int H = GH.vecH.size();
	std::vector < bool > open(H, true);
	open[GH.ind2hap[10][0]] = false;
	GH.pbwt.build(GH.vecH, 40, 8);
	for (int ind : { 0, 1, 3 }) for (bool pbwt : { false, true }) {
		std::vector < bool > family(H, false);
		for (int j : GH.relatives[ind]) for (unsigned int k = 0 ; k < GH.ind2hap[j].size() ; k ++) {
			family[GH.ind2hap[j][k]] = true;
			if (j != ind) GH.vecH[GH.ind2hap[j][k]] = GH.vecH[GH.ind2hap[ind][k % GH.ind2hap[ind].size()]];
		}
		std::vector < std::vector < int > > sets;
		GH.conditioningSets(open, ind, { 8, 2, 1, 1, true, 2, pbwt }, { 0, 10, 25 }, { 19, 39, 39 }, sets);
		ASSERT_EQ(sets.size(), 3u);
		for (const std::vector < int > & s : sets) {
			EXPECT_GE(s.size(), 4u) << ind << " " << pbwt;
			for (int h : s) EXPECT_TRUE(open[h] && !family[h]) << ind << " " << h << " " << pbwt;
		}
	}
}

// The transform's walks reach a duplicate of the target first; the IBD rule keeps neither of its haplotypes, and the window still fills.
TEST(genhap_set_select, TransformLeavesOutADuplicate) {
	putils::initRandom(5);
	Study U(plain(std::vector < int > (12, 2)), 64);
	U.mutatedCopies();
	genhap_set & GH = U.GH;
	GH.vecH[2] = GH.vecH[1];
	GH.vecH[3] = GH.vecH[0];
	GH.pbwt.build(GH.vecH, 64, 8);
	for (bool ibd : { false, true }) {
		std::vector < bool > mask(GH.vecH.size(), true), selected;
		GH.subsetHaplotypes_relatives(mask, 0);
		GH.subsetHaplotypes_pbwt(mask, 0, 6, 0, 63, selected, ibd);
		EXPECT_EQ(std::count(selected.begin(), selected.end(), true), 6);
		EXPECT_EQ(selected[2] || selected[3], !ibd);
	}
}

// Every batch of the bound's size leaves each graph `need` haplotypes outside batch and family; one more fails.
TEST(genhap_set_select, BatchBound) {
	putils::initRandom(7);
	for (int rep = 0 ; rep < 200 ; rep ++) {
		const int N = 2 + putils::getRandom(5), panel = putils::getRandom(3), need = 1 + putils::getRandom(3);
		std::vector < int > types(N), family(N);
		for (int i = 0 ; i < N ; i ++) types[i] = 1 + putils::getRandom(4), family[i] = putils::getRandom(N);
		Study U(plain(types, family), 8);
		for (int p = 0 ; p < panel ; p ++) U.GH.vecH.push_back(chaplotype(8));
		const std::vector < bool > mask = randomBits(U.GH.vecH.size(), 0.8);
		auto fits = [&](int T) {
			for (int batch = 0 ; batch < (1 << N) ; batch ++) if (__builtin_popcount(batch) == T)
				for (int i = 0 ; i < N ; i ++) if ((batch >> i) & 1) {
					std::vector < bool > m = mask;
					for (int j = 0 ; j < N ; j ++) if ((batch >> j) & 1) for (int h : U.GH.ind2hap[j]) m[h] = false;
					U.GH.subsetHaplotypes_relatives(m, i);
					if (std::count(m.begin(), m.end(), true) < need) return false;
				}
			return true;
		};
		int limiting;
		const int bound = U.GH.maxBatchSize(mask, need, limiting);
		ASSERT_TRUE(bound >= 0 && bound <= N);
		EXPECT_TRUE(bound == 0 || fits(bound)) << rep;
		EXPECT_TRUE(bound == N ? limiting == -1 : !fits(bound + 1) && limiting >= 0 && limiting < N) << rep;
	}
}
