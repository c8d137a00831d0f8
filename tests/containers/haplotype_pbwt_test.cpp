#include "containers/genhap_set/haplotype_pbwt.h"
#include "utils/putils.h"

#include <gtest/gtest.h>

#include <algorithm>

// Sites of the match between haplotypes a and b that ends at site k, counted backwards.
static int matchLength(const chaplotype & a, const chaplotype & b, int k) {
	int n = 0;
	while (k - n >= 0 && a[k - n] == b[k - n]) n ++;
	return n;
}

// Mosaics of a few founders with rare mutations, so that long matches exist.
static std::vector < chaplotype > randomHaplotypes(int N, int L, int founders) {
	std::vector < chaplotype > F(founders, chaplotype(L)), H(N, chaplotype(L));
	for (chaplotype & f : F) for (int l = 0 ; l < L ; l ++) f.set(l, putils::getRandom(2));
	for (chaplotype & h : H) for (int l = 0, f = putils::getRandom(founders) ; l < L ; l ++) {
		if (putils::getRandom(20) == 0) f = putils::getRandom(founders);
		h.set(l, putils::getRandom(50) == 0 ? !F[f][l] : F[f][l]);
	}
	return H;
}

// Against brute force: `sorted` orders haplotypes read backwards (0 first) with the starts of
// their matches, `rank` inverts the order; N and L not multiples of 8 nor of 64.
TEST(haplotype_pbwt, CheckpointsHoldTheSortedMatches) {
	putils::initRandom(3);
	for (int step : { 1, 7, 64 }) {
		const int N = 43, L = 150;
		std::vector < chaplotype > H = randomHaplotypes(N, L, 4);
		haplotype_pbwt P;
		P.build(H, L, step);
		ASSERT_TRUE(P.sites.back() == L - 1 && P.sites.size() == (size_t)((L + step - 1) / step));
		for (unsigned int c = 0 ; c < P.sites.size() ; c ++) for (int p = 0, k = P.sites[c] ; p < N ; p ++) {
			const int h = P.sorted[c * N + p].hap, n = p ? matchLength(H[P.sorted[c * N + p - 1].hap], H[h], k) : 0;
			EXPECT_EQ(P.rank[c * N + h], p);
			EXPECT_EQ(P.sorted[c * N + p].start, k + 1 - n) << step << " " << k << " " << p;
			EXPECT_TRUE(!p || n > k || H[P.sorted[c * N + p - 1].hap][k - n] < H[h][k - n]);
		}
	}
}

// The `states` longest allowed matches ending at the checkpoint in the window, selected ones passed over.
TEST(haplotype_pbwt, SelectionTakesTheLongestAllowedMatches) {
	putils::initRandom(5);
	const int N = 60, L = 96;
	std::vector < chaplotype > H = randomHaplotypes(N, L, 5);
	haplotype_pbwt P;
	P.build(H, L, 32);
	for (int rep = 0 ; rep < 30 ; rep ++) {
		const int target = putils::getRandom(N), states = 1 + putils::getRandom(12), k = P.sites[putils::getRandom(P.sites.size())];
		std::vector < bool > allowed (N), selected (N, false), before;
		for (int h = 0 ; h < N ; h ++) allowed[h] = h != target && putils::getRandom(4) != 0;
		selected[(target + 1) % N] = true;
		before = selected;
		P.select(allowed, { target }, k - 3, k + 3, states, selected);
		int added = 0, shortest_taken = L + 1, longest_left = -1;
		for (int h = 0 ; h < N ; h ++) {
			if (before[h]) continue;
			const int n = matchLength(H[h], H[target], k);
			EXPECT_TRUE(allowed[h] || !selected[h]);
			if (selected[h]) added ++, shortest_taken = std::min(shortest_taken, n);
			else if (allowed[h]) longest_left = std::max(longest_left, n);
		}
		EXPECT_EQ(added, std::min(states, (int)std::count(allowed.begin(), allowed.end(), true) - (allowed[(target + 1) % N] ? 1 : 0)));
		EXPECT_GE(shortest_taken, longest_left) << rep;
	}
}
