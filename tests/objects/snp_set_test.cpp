#include "objects/snp_set.h"
#include "objects/chaplotype.h"
#include "modes/sorvane.h"

#include <gtest/gtest.h>

namespace {

void putSites(snp_set & S, const std::vector < int > & bps) {
	for (int bp : bps) S.put(new snp("1", bp, "A", "C", 5));
	S.indexing();
}

}

// The strand form follows the flippable switch through snp::strand.
TEST(snp_set, LookupByPositionAndAlleles) {
	unsigned char saved = flippable;
	snp_set S;
	S.put(new snp("1", 100, "A", "C", 5));
	S.put(new snp("1", 100, "A", "G", 5));
	S.put(new snp("1", 200, "A", "T", 5));
	S.put(new snp("1", 300, "A", "T", 5));
	S.put(new snp("1", 300, "T", "A", 5));
	S.indexing();
	// Index of the site found (-1 for none) and the strand; the exact form gives no strand.
	auto look = [&](int bp, std::string a0, std::string a1, bool with_strand) {
		int strand = 99;
		snp * s = with_strand ? S.getByRef(bp, a0, a1, strand) : S.getByRef(bp, a0, a1);
		return std::make_pair(s ? s->idx : -1, strand);
	};
	flippable = 1;
	// Without strand, the stored order only.
	EXPECT_TRUE(look(100, "A", "G", false) == std::make_pair(1, 99) && look(100, "G", "A", false) == std::make_pair(-1, 99) && look(101, "A", "C", false) == std::make_pair(-1, 99) && look(300, "T", "A", false) == std::make_pair(4, 99));
	EXPECT_TRUE(look(100, "A", "G", true) == std::make_pair(1, 0) && look(100, "G", "A", true) == std::make_pair(1, 1) && look(100, "C", "G", true) == std::make_pair(-1, -2));
	EXPECT_TRUE(look(150, "A", "C", true) == std::make_pair(-1, -3) && look(200, "T", "A", true) == std::make_pair(2, 1));
	// A/T and T/A at one position both match either query: ambiguous, no match.
	EXPECT_EQ(look(300, "A", "T", true), std::make_pair(-1, -1));
	flippable = 0;
	EXPECT_EQ(look(200, "T", "A", true), std::make_pair(-1, -2));
	EXPECT_EQ(look(300, "T", "A", true), std::make_pair(4, 0));
	flippable = saved;
}

// Map 100:1 200:2 400:6, mean rate 5/300 cM per bp outside it; a site at exactly 0 cM stays.
TEST(snp_set, CentiMorganExactAndInterpolated) {
	snp_set S;
	putSites(S, { 50, 100, 150, 200, 250, 300, 400, 400, 500 });
	S.getByIndex(4)->cm = 0.0;
	std::vector < int > pos = { 100, 200, 400 };
	std::vector < double > cm = { 1.0, 2.0, 6.0 };
	EXPECT_EQ(S.setCentiMorgan(pos, cm), 4);
	EXPECT_EQ(S.interpolateCentiMorgan(pos, cm), 4);
	std::vector < double > expected = { 1.0 - 50 * 5.0 / 300, 1.0, 1.5, 2.0, 0.0, 4.0, 6.0, 6.0, 6.0 + 100 * 5.0 / 300 };
	for (int i = 0 ; i < S.size() ; i ++) EXPECT_NEAR(S.getByIndex(i)->cm, expected[i], 1e-12) << "site " << i;
	// Nothing left to interpolate.
	EXPECT_EQ(S.interpolateCentiMorgan(pos, cm), 0);

	// Equal map positions, and a site on a map position whose value is still unset.
	snp_set D;
	putSites(D, { 150, 200, 250 });
	pos = { 100, 200, 200, 300 };
	cm = { 1.0, 2.0, 3.0, 4.0 };
	EXPECT_EQ(D.interpolateCentiMorgan(pos, cm), 3);
	EXPECT_NEAR(D.getByIndex(0)->cm, 1.5, 1e-12);
	EXPECT_NEAR(D.getByIndex(1)->cm, 2.5, 1e-12);
	EXPECT_NEAR(D.getByIndex(2)->cm, 3.5, 1e-12);

	// Extrapolating left of the map below 0 moves all sites so that the first is at 0.
	snp_set L;
	putSites(L, { 100, 1000, 1500, 2000, 3000 });
	pos = { 1000, 2000 };
	cm = { 0.5, 1.5 };
	EXPECT_EQ(L.setCentiMorgan(pos, cm), 2);
	EXPECT_EQ(L.interpolateCentiMorgan(pos, cm), 3);
	expected = { 0.0, 0.9, 1.4, 1.9, 2.9 };
	for (int i = 0 ; i < L.size() ; i ++) EXPECT_NEAR(L.getByIndex(i)->cm, expected[i], 1e-12) << "site " << i;
}

TEST(snp_set, AlleleStrings) {
	snp_set S;
	S.put(new snp("1", 1, "A", "C", 5));
	S.put(new snp("1", 2, "G", "T", 5));
	S.put(new snp("1", 3, "AT", "A", 5));
	S.indexing();
	chaplotype h(std::vector < bool > ({ 1, 0, 0 }));
	EXPECT_EQ(S.toString(h, " "), "C G AT");
	chaplotype t(std::vector < bool > ({ 1, 1 }));
	EXPECT_EQ(S.toString(t, 1, ","), "T,A");
	chaplotype e;
	EXPECT_EQ(S.toString(e, "-"), "");
	std::vector < int > sites = { 2, 0 };
	EXPECT_EQ(S.toString(std::vector < bool > ({ 0, 1 }), sites, "|"), "AT|C");
}
