#include "containers/genhap_set/haplotype_pbwt.h"
#include "utils/putils.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// Sites of the match between haplotypes a and b that ends at site k, counted backwards.
int matchLength(const chaplotype & a, const chaplotype & b, int k) {
	int n = 0;
	while (k - n >= 0 && a[k - n] == b[k - n]) n ++;
	return n;
}

std::vector < chaplotype > randomHaplotypes(int N, int L, int founders) {
	// Mosaics of a few founders with rare mutations, so that long matches exist.
	std::vector < chaplotype > F, H;
	for (int f = 0 ; f < founders ; f ++) {
		F.emplace_back(L);
		for (int l = 0 ; l < L ; l ++) F.back().set(l, putils::getRandom(2));
	}
	for (int i = 0 ; i < N ; i ++) {
		H.emplace_back(L);
		int f = putils::getRandom(founders);
		for (int l = 0 ; l < L ; l ++) {
			if (putils::getRandom(20) == 0) f = putils::getRandom(founders);
			H.back().set(l, putils::getRandom(50) == 0 ? !F[f][l] : F[f][l]);
		}
	}
	return H;
}

}

// At every checkpoint the order sorts the haplotypes by their sequences read backwards from
// the checkpoint, `rank` inverts it and `start` gives the match with the predecessor, all
// against a brute-force computation.
TEST(haplotype_pbwt, CheckpointsHoldTheSortedMatches) {
	putils::initRandom(3);
	for (int step : { 1, 7, 64 }) {
		const int N = 40, L = 150;
		std::vector < chaplotype > H = randomHaplotypes(N, L, 4);
		haplotype_pbwt P;
		P.build(H, L, step);
		ASSERT_EQ(P.sites.back(), L - 1);
		ASSERT_EQ(P.sites.size(), (size_t)((L + step - 1) / step));
		for (unsigned int c = 0 ; c < P.sites.size() ; c ++) {
			const int k = P.sites[c];
			for (int p = 0 ; p < N ; p ++) {
				const int h = P.order[c * N + p];
				EXPECT_EQ(P.rank[c * N + h], p);
				if (p == 0) {
					EXPECT_EQ(P.start[c * N], k + 1);
					continue;
				}
				const chaplotype & a = H[P.order[c * N + p - 1]], & b = H[h];
				const int n = matchLength(a, b, k);
				EXPECT_EQ(P.start[c * N + p], k + 1 - n) << step << " " << k << " " << p;
				// Sorted backwards: the first difference going left puts allele 0 first.
				if (n <= k) {
					EXPECT_LT(a[k - n], b[k - n]);
				}
			}
		}
	}
}

// With one checkpoint in the window, `states` picks are the allowed haplotypes with the
// longest matches ending there: none left out matches longer than one taken. Closed and
// already selected haplotypes are passed over, and the count is exact.
TEST(haplotype_pbwt, SelectionTakesTheLongestAllowedMatches) {
	putils::initRandom(5);
	const int N = 60, L = 96;
	std::vector < chaplotype > H = randomHaplotypes(N, L, 5);
	haplotype_pbwt P;
	P.build(H, L, 32);
	for (int rep = 0 ; rep < 30 ; rep ++) {
		const int target = putils::getRandom(N), states = 1 + putils::getRandom(12);
		const int c = putils::getRandom(P.sites.size()), k = P.sites[c];
		std::vector < bool > allowed (N), selected (N, false), before;
		for (int h = 0 ; h < N ; h ++) allowed[h] = h != target && putils::getRandom(4) != 0;
		selected[(target + 1) % N] = true;
		before = selected;
		P.select(allowed, { target }, k - 3, k + 3, states, selected);
		int added = 0, shortest_taken = L + 1, longest_left = -1;
		for (int h = 0 ; h < N ; h ++) {
			if (before[h]) continue;
			const int n = matchLength(H[h], H[target], k);
			if (selected[h]) {
				EXPECT_TRUE(allowed[h]);
				added ++;
				shortest_taken = std::min(shortest_taken, n);
			} else if (allowed[h]) longest_left = std::max(longest_left, n);
		}
		EXPECT_EQ(added, std::min(states, (int)std::count(allowed.begin(), allowed.end(), true) - (allowed[(target + 1) % N] ? 1 : 0)));
		EXPECT_GE(shortest_taken, longest_left) << rep;
	}
}

// Several checkpoints and two targets: every checkpoint of the window contributes its
// nearest neighbour of each target before any contributes a second one.
TEST(haplotype_pbwt, RoundsReachEveryCheckpoint) {
	putils::initRandom(8);
	const int N = 80, L = 200;
	std::vector < chaplotype > H = randomHaplotypes(N, L, 6);
	haplotype_pbwt P;
	P.build(H, L, 10);
	std::vector < bool > allowed (N, true), selected (N, false);
	allowed[0] = allowed[1] = false;
	const int left = 40, right = 159;
	std::vector < bool > nearest (N, false);
	for (unsigned int c = 0 ; c < P.sites.size() ; c ++) if (P.sites[c] >= left && P.sites[c] <= right)
		for (int t : { 0, 1 }) {
			std::vector < bool > one (N, false);
			P.select(allowed, { t }, P.sites[c], P.sites[c], 1, one);
			for (int h = 0 ; h < N ; h ++) if (one[h]) nearest[h] = true;
		}
	const int n_nearest = std::count(nearest.begin(), nearest.end(), true);
	P.select(allowed, { 0, 1 }, left, right, n_nearest, selected);
	EXPECT_EQ(selected, nearest);
}
