#include "objects/snp_set.h"
#include "modes/sorvane.h"

#include <gtest/gtest.h>

// The strand form follows the flippable switch; without strand, the stored order only.
TEST(snp_set, LookupByPositionAndAlleles) {
	unsigned char saved = flippable;
	snp_set S;
	for (auto s : { std::make_pair(100, "C"), std::make_pair(100, "G"), std::make_pair(200, "T"), std::make_pair(300, "T") }) S.put(new snp("1", s.first, "A", s.second, 5));
	S.put(new snp("1", 300, "T", "A", 5));
	S.indexing();
	// Index of the site found (-1 for none) and the strand (99: the exact form).
	auto look = [&](int bp, std::string a0, std::string a1, bool with_strand) {
		int strand = 99;
		snp * s = with_strand ? S.getByRef(bp, a0, a1, strand) : S.getByRef(bp, a0, a1);
		return std::make_pair(s ? s->idx : -1, strand);
	};
	flippable = 1;
	EXPECT_TRUE(look(100, "A", "G", false) == std::make_pair(1, 99) && look(100, "G", "A", false) == std::make_pair(-1, 99) && look(101, "A", "C", false) == std::make_pair(-1, 99) && look(300, "T", "A", false) == std::make_pair(4, 99));
	EXPECT_TRUE(look(100, "A", "G", true) == std::make_pair(1, 0) && look(100, "G", "A", true) == std::make_pair(1, 1) && look(100, "C", "G", true) == std::make_pair(-1, -2));
	EXPECT_TRUE(look(150, "A", "C", true) == std::make_pair(-1, -3) && look(200, "T", "A", true) == std::make_pair(2, 1));
	// A/T and T/A at one position both match either query: ambiguous, no match.
	EXPECT_EQ(look(300, "A", "T", true), std::make_pair(-1, -1));
	flippable = 0;
	EXPECT_TRUE(look(200, "T", "A", true) == std::make_pair(-1, -2) && look(300, "T", "A", true) == std::make_pair(4, 0));
	flippable = saved;
}

// Interpolated: the mean rate outside the map, a site at 0 cM staying; between equal map positions and on an unset
// one; below 0 left of the map, all shift so that the first is at 0. A second interpolation finds nothing to do.
TEST(snp_set, CentiMorganExactAndInterpolated) {
	struct { std::vector < int > bps, pos; std::vector < double > cm; bool set; int n_set, n_interpolated; std::vector < double > expected; } cases[] = {
		{ { 50, 100, 150, 200, 250, 300, 400, 400, 500 }, { 100, 200, 400 }, { 1.0, 2.0, 6.0 }, true, 4, 4, { 1.0 - 50 * 5.0 / 300, 1.0, 1.5, 2.0, 0.0, 4.0, 6.0, 6.0, 6.0 + 100 * 5.0 / 300 } },
		{ { 150, 200, 250 }, { 100, 200, 200, 300 }, { 1.0, 2.0, 3.0, 4.0 }, false, 0, 3, { 1.5, 2.5, 3.5 } },
		{ { 100, 1000, 1500, 2000, 3000 }, { 1000, 2000 }, { 0.5, 1.5 }, true, 2, 3, { 0.0, 0.9, 1.4, 1.9, 2.9 } },
	};
	for (auto & c : cases) {
		snp_set S;
		for (int bp : c.bps) S.put(new snp("1", bp, "A", "C", 5));
		S.indexing();
		if (S.size() == 9) S.getByIndex(4)->cm = 0.0;
		EXPECT_EQ(c.set ? S.setCentiMorgan(c.pos, c.cm) : 0, c.n_set);
		EXPECT_EQ(S.interpolateCentiMorgan(c.pos, c.cm), c.n_interpolated);
		for (int i = 0 ; i < S.size() ; i ++) EXPECT_NEAR(S.getByIndex(i)->cm, c.expected[i], 1e-12) << "site " << i;
		EXPECT_EQ(S.interpolateCentiMorgan(c.pos, c.cm), 0);
	}
}
