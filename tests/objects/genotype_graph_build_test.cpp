#include "objects/genotype_graph_test_utils.h"

#include <gtest/gtest.h>

using graphtest::fault;
typedef std::vector < unsigned int > counts;
typedef std::vector < unsigned char > bytes;
typedef std::vector < float > floats;

namespace {

// Genotypes '0', '1', '2' (copies of the second allele), '.' missing; 'h' is a heterozygote
// stored as (1, 0). Scaffold bits '0' or '1'.
genotype_graph unrelated(const std::string & s, const std::string & scaffold = "") {
	std::vector < std::vector < bool > > v(4);
	for (unsigned int l = 0 ; l < s.size() ; l ++) {
		v[0].push_back(s[l] == '2' || s[l] == 'h');
		v[1].push_back(s[l] == '2' || s[l] == '1');
		v[2].push_back(s[l] == '.');
		v[3].push_back(l < scaffold.size() && scaffold[l] == '1');
	}
	genotype_graph g(2, 0);
	if (scaffold.empty()) g.buildUnr(v[0], v[1], v[2]);
	else g.buildUnr(v[0], v[1], v[2], v[3]);
	EXPECT_EQ(fault(g, s.size()), "") << s;
	return g;
}

}

// A segment closes at the first site that would give it 9 fragments, or 11 states (33 when
// ordered): 3 heterozygous sites, or 2 missing ones, or 1 missing site of a trio.
TEST(genotype_graph_build, SegmentLimits) {
	struct { std::string geno, scaffold; counts HapsS, probsC; } cases[] = {
		{ "0022002", "", { 7 }, { 1, 1 } },
		// The homozygous run before the fourth heterozygote stays in the first segment;
		// between the segments, each of 4 unordered states goes to (0, 1) and to (1, 0).
		{ "01h02001210", "", { 9, 2 }, { 4, 8, 1 } },
		{ "01h02001210", "00000000000", { 9, 2 }, { 8, 16, 2 } },
		// A scaffold bit keeps a heterozygote's order.
		{ "1h1", "010", { 3 }, { 4, 4 } },
		{ ".", "", { 1 }, { 3, 3 } },
		{ ".", "0", { 1 }, { 4, 4 } },
		{ "..", "", { 2 }, { 10, 10 } },
		{ "...", "", { 2, 1 }, { 10, 10 * 3 + 6 * 1, 3 } },
		{ "...", "000", { 2, 1 }, { 16, 64, 4 } },
	};
	for (auto & c : cases) {
		genotype_graph g = unrelated(c.geno, c.scaffold);
		EXPECT_TRUE(g.HapsS == c.HapsS && g.probsC == c.probsC) << c.geno << " " << c.scaffold;
	}
	genotype_graph hom = unrelated("0022002"), four = unrelated("01h02001210");
	EXPECT_TRUE(hom.phased() && hom.probs == floats({ 1.0f, 1.0f }));
	EXPECT_EQ(bytes(four.trans.begin() + 8, four.trans.begin() + 12), bytes({ 0x00, 0x11, 0x10, 0x01 }));
	// A scaffold bit on a homozygous or missing site changes nothing.
	EXPECT_EQ(graphtest::dump(unrelated(".2.", "111")), graphtest::dump(unrelated(".2.", "000")));

	// Trio sites: all missing (16 states on 2 fragments, so a second one closes the segment),
	// a Mendel error (child 2 of parents 0 and 2, open to all 16), homozygous (nothing new).
	std::vector < bool > no(4, false), miss = { 1, 1, 0, 0 }, two = { 0, 0, 1, 0 };
	genotype_graph trio(4, 0);
	EXPECT_EQ(trio.buildTrio(no, no, miss, two, two, miss, two, two, miss), 3);
	EXPECT_EQ(fault(trio, 4), "");
	EXPECT_TRUE(trio.HapsS == counts({ 1, 1, 2 }) && trio.probsC == counts({ 16, 256, 256, 16 }));
	EXPECT_TRUE(trio.Ambs == std::vector < bool > ({ 1, 1, 1, 0 }) && trio.Miss == miss);

	// Leaving a segment where both tracks have the same fragment takes one coin flip.
	genotype_graph flip = unrelated("...");
	std::vector < chaplotype > H(2, chaplotype(3));
	std::vector < int > indexes = { 0, 1 }, path = { 0, 0, 0 };
	putils::initRandom(5);
	flip.buildGuesses(H, indexes, path);
	double next = putils::getRandom();
	putils::initRandom(5);
	putils::getRandom();
	EXPECT_EQ(putils::getRandom(), next);
}
