#include "containers/genhap_set_test_utils.h"
#include "input/filter_reader.h"
#include "input/reference_reader.h"

#include <gtest/gtest.h>

using genhaptest::plain;
using genhaptest::randomBits;
using genhaptest::Study;

// Random masks, windows and earlier selections on haploid units. The Hamming selection
// takes the nearest allowed haplotypes by byte distance; the match selection, whose limit
// shuts the heap once it is full, the first ones that share a whole byte with the target.
TEST(genhap_set_select, NearestAndMatching) {
	putils::initRandom(42);
	for (int rep = 0 ; rep < 40 ; rep ++) {
		Study U(plain(std::vector < int > (80, 1)), 120);
		U.mutatedCopies();
		const int H = 80, ind = putils::getRandom(H), states = 1 + putils::getRandom(12);
		const int left = putils::getRandom(100), right = left + putils::getRandom(120 - left);
		const chaplotype & t = U.GH.vecH[ind];
		std::vector < bool > input = randomBits(H, 0.7), before = randomBits(H, 0.1), hamming = before, match = before;
		U.GH.subsetHaplotypes_hamming_ALL(input, ind, states, left, right, hamming);
		U.GH.subsetHaplotypes_pfmatch_ALL(input, ind, states, left, right, match);
		int n_pool = 0, n_new = 0, worst_in = -1, best_out = 1000000, n_match = 0;
		for (int h = 0 ; h < H ; h ++) {
			if (before[h] || !input[h]) {
				EXPECT_TRUE(hamming[h] == before[h] && match[h] == before[h]);
				continue;
			}
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

// Two targets share the states; masked and already selected haplotypes are passed over.
// Coverage takes at each site the haplotype with the longest run of agreement through it.
TEST(genhap_set_select, StatesSplitByTypeAndCoverage) {
	Study U(plain({ 2, 1, 1, 1, 1, 1, 1, 1, 3, 4 }), 16);
	U.set(1, std::string(16, '1'));
	U.set(3, "1000000000000000");
	U.set(5, "1100000011000000");
	U.set(6, "0111111111111111");
	U.set(7, "0011111111111111");
	U.set(8, "0001111111111111");
	std::vector < bool > input(16, false), selected(16, false), duo, runs(16, false), covered;
	std::fill(input.begin() + 2, input.begin() + 9, true);
	input[4] = false;
	selected[6] = true;
	U.GH.subsetHaplotypes_hamming_ALL(input, 0, 4, 0, 15, selected);
	EXPECT_EQ(selected, std::vector < bool > ({ 0, 0, 1, 1, 0, 0, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0 }));
	// A duo with 2 states takes one haplotype per target (round(2 / 3)); a trio with 1 cannot.
	U.GH.subsetHaplotypes_hamming_ALL(input, 8, 2, 0, 15, duo);
	EXPECT_EQ(std::count(duo.begin(), duo.end(), true), 3);
	EXPECT_DEATH(U.GH.subsetHaplotypes_hamming_ALL(input, 9, 1, 0, 15, duo), "max_states > 0");
	// Against the zeros of haplotype 2, haplotype 3 agrees from site 1 on, 6 and 7 at site 0 only.
	runs[3] = runs[6] = runs[7] = true;
	U.GH.subsetHaplotypes_pfmatchcov_ALL(runs, 1, 1, 0, 15, covered);
	EXPECT_EQ(covered, std::vector < bool > ({ 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 }));
}

// Targets all 0 and all 1. The pair rule of unrelated units, haploids weighed haplotype by
// haplotype, and panel haplotypes offered once per target.
TEST(genhap_set_select, IdentityByDescentRule) {
	Study U(plain({ 2, 2, 2, 2, 1 }), 16);
	filter_reader F;
	reference_reader R(F, &U.S);
	R.ind_id = { "r" };
	R.ind_male = { false };
	R.hap0 = R.hap1 = { std::vector < bool > (16, false) };
	R.hap1[0][15] = true;
	U.GH.initialise(R, false);
	U.set(1, std::string(16, '1'));
	U.set(2, "1000000000000000");	// both near the first target: both taken
	U.set(3, "1100000000000000");
	U.set(4, "1100000000000000");	// the targets themselves but for the same two sites: neither
	U.set(5, "0011111111111111");
	U.set(6, "0000000000000001");	// its partner 7 is masked: alone
	U.set(8, "1111111111111110");
	std::vector < bool > input(11, true), selected, panel(11, false), only;
	input[0] = input[1] = input[7] = false;
	U.GH.subsetHaplotypes_hamming_IBD(input, 0, 20, 0, 15, selected);
	EXPECT_EQ(selected, std::vector < bool > ({ 0, 0, 1, 1, 0, 0, 1, 0, 1, 1, 1 }));
	// With two states the exact panel copy of the first target fills both places.
	panel[9] = panel[10] = true;
	U.GH.subsetHaplotypes_hamming_IBD(panel, 0, 2, 0, 15, only);
	EXPECT_EQ(only, std::vector < bool > ({ 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0 }));
	EXPECT_DEATH(U.GH.subsetHaplotypes_hamming_IBD(input, 4, 2, 0, 15, only), "type == 2");

	// Against a count site by site with the same two draws, on ranges within and across the
	// 64-site words of long haplotypes: sites where only the first (second) haplotype matches
	// decide, nothing to decide on gives -1.
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
	const chaplotype & z = U.GH.vecH[0];
	EXPECT_EQ(non_overlapping_hamming_distance(z, z, z, z, 3, 2), -1);
}

// Random choice among the allowed haplotypes; the masks of a batch and of a family.
TEST(genhap_set_select, RandomChoiceAndMasks) {
	Study U(plain({ 2, 1, 3, 2, 1 }, { 0, 1, 1, 2, 1 }), 8);
	std::vector < bool > input(9, true), selected(9, false), batch(9, true), family(9, true), wrong(8, true);
	input[2] = false;
	selected[0] = true;
	for (int states : { 0, 3, 20 }) {
		std::vector < bool > s = selected;
		U.GH.subsetHaplotypes_random(input, states, s);
		EXPECT_TRUE(std::count(s.begin(), s.end(), true) == 1 + std::min(states, 7) && s[0] && !s[2]);
	}
	// Units 1 and 3 of a batch; the family of unit 1 (units 1, 2, 4).
	std::vector < int > slots = { -1, 1, 3 };
	U.GH.subsetHaplotypes_thread(batch, slots);
	EXPECT_EQ(batch, std::vector < bool > ({ 1, 1, 0, 1, 1, 1, 0, 0, 1 }));
	U.GH.subsetHaplotypes_relatives(family, 1);
	U.GH.subsetHaplotypes_relatives(family, -1);
	EXPECT_EQ(family, std::vector < bool > ({ 1, 1, 0, 0, 0, 0, 1, 1, 0 }));
	EXPECT_DEATH(U.GH.subsetHaplotypes_thread(wrong, slots), "mask.size\\(\\) == vecH.size\\(\\)");
}

// The conditioning sets of a duo, an unrelated unit of its family and a trio, whose
// relatives carry exact copies of their haplotypes: every selection passes over the family
// and the closed haplotypes; drawing more states at random than there are takes exactly
// all the others.
TEST(genhap_set_select, ConditioningSetsLeaveOutTheFamily) {
	putils::initRandom(9);
	Study U(plain({ 3, 2, 2, 4, 1, 2, 2, 2, 2, 2, 2 }, { 0, 0, 0, 1, 1, 2, 3, 4, 5, 6, 7 }), 40);
	U.mutatedCopies();
	genhap_set & GH = U.GH;
	const int H = GH.vecH.size();
	std::vector < bool > open(H, true);
	open[GH.ind2hap[10][0]] = false;
	GH.pbwt.build(GH.vecH, 40, 8);
	for (int ind : { 0, 1, 3 }) {
		std::vector < bool > family(H, false);
		for (int j : GH.relatives[ind]) for (unsigned int k = 0 ; k < GH.ind2hap[j].size() ; k ++) {
			family[GH.ind2hap[j][k]] = true;
			if (j != ind) GH.vecH[GH.ind2hap[j][k]] = GH.vecH[GH.ind2hap[ind][k % GH.ind2hap[ind].size()]];
		}
		std::vector < int > others;
		for (int h = 0 ; h < H ; h ++) if (open[h] && !family[h]) others.push_back(h);
		const std::vector < int > left = { 0, 10, 25 }, right = { 19, 39, 39 };
		std::vector < std::vector < int > > sets, all;
		for (bool pbwt : { false, true }) {
			GH.conditioningSets(open, ind, { 8, 2, 1, 1, true, 2, pbwt }, left, right, sets);
			ASSERT_EQ(sets.size(), 3u);
			for (const std::vector < int > & s : sets) {
				EXPECT_GE(s.size(), 4u) << ind << " " << pbwt;
				for (int h : s) EXPECT_TRUE(open[h] && !family[h]) << ind << " " << h << " " << pbwt;
			}
		}
		GH.conditioningSets(open, ind, { 0, 0, H, 0, false, 0, false }, left, right, all);
		EXPECT_EQ(all, std::vector < std::vector < int > > (3, others)) << ind;
	}
}

// The batch bound against every batch of small random studies, with random families,
// masks and panel sizes: a batch of the bound's size leaves each of its graphs `need`
// haplotypes outside the batch and the graph's family, one more graph fails some of them.
TEST(genhap_set_select, BatchBound) {
	putils::initRandom(7);
	for (int rep = 0 ; rep < 200 ; rep ++) {
		const int N = 2 + putils::getRandom(5), panel = putils::getRandom(3), need = 1 + putils::getRandom(3);
		std::vector < int > types, family;
		for (int i = 0 ; i < N ; i ++) {
			types.push_back(1 + putils::getRandom(4));
			family.push_back(putils::getRandom(N));
		}
		Study U(plain(types, family), 8);
		for (int p = 0 ; p < panel ; p ++) U.GH.vecH.push_back(chaplotype(8));
		const std::vector < bool > mask = randomBits(U.GH.vecH.size(), 0.8);
		// Whether every batch of T graphs leaves each of its graphs enough haplotypes.
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
