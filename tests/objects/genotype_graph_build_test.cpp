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

// Unrelated, two segments: "01"/"10" then "0"/"1". Group 0 enters the state (0, 1); group 1
// holds (0, 1) -> (0, 1) and its crossed twin (0, 1) -> (1, 0); group 2 leaves (0, 1).
TEST(genotype_graph, HandMadeGraph) {
	EXPECT_EQ(genotype_graph().type, 255);
	genotype_graph g(2, 7);
	std::vector < std::vector < bool > > seg0 = { { 0, 1 }, { 1, 0 } }, seg1 = { { 0 }, { 1 } };
	std::vector < std::vector < int > > t0 = { { 0 }, { 0 }, { 0 }, { 1 } }, t1 = { { 0, 0 }, { 0, 1 }, { 1, 1 }, { 1, 0 } }, t2 = { { 0 }, { 0 }, { 1 }, { 0 } };
	g.pushHaps(seg0);
	g.pushHaps(seg1);
	for (auto * t : { &t0, &t1, &t2 }) g.pushTrans(*t);
	EXPECT_EQ(g.trans, bytes({ 0x00, 0x10, 0x00, 0x11, 0x10, 0x01, 0x00, 0x01 }));
	EXPECT_TRUE(g.probs.capacity() == 4u && g.Haps.toString() == "011001" && !g.phased());
	EXPECT_EQ(g.getA(0, 1, 0) * 100 + g.getA(0, 1, 1) * 10 + g.getA(1, 1, 0), 101);
	EXPECT_EQ(std::vector < int > ({ g.getB(-1), g.getB(1), g.getB(2), g.getB(3) }), std::vector < int > ({ -1, 0, 1, -1 }));

	// Most probable neighbours, where the first of equals wins: the crossed match counts
	// unless the pair is ordered.
	EXPECT_TRUE(g.equalP(2, 4) && g.linked(4, 6));
	g.probs = { 1.0f, 0.5f, 0.5f, 1.0f };
	EXPECT_EQ(std::vector < int > ({ g.maxN(1, 0), g.maxN(2, 4), g.maxP(1, 6) }), std::vector < int > ({ 1, 3, 1 }));
	g.probs[2] = 0.7f;
	EXPECT_EQ(g.maxP(1, 6), 2);
	g.scaffolded = true;
	EXPECT_TRUE(g.equalP(2, 4) && !g.linked(4, 6) && g.maxN(2, 4) == -1 && g.maxP(1, 6) == 1);

	g.initialise();
	EXPECT_EQ(g.probs, floats({ 1.0f, 0.5f, 0.5f, 1.0f }));
	g.probs = { 2.0f, 1.0f, 3.0f, 4.0f };
	g.likes = { 0.1f, 0.2f, 0.3f, 0.4f };
	g.normalize();
	EXPECT_EQ(g.probs, floats({ 1.0f, 0.25f, 0.75f, 1.0f }));
	// Sorting moves the bytes and the emission weights with their transition.
	g.sort();
	EXPECT_TRUE(g.probs == floats({ 1.0f, 0.75f, 0.25f, 1.0f }) && g.likes == floats({ 0.1f, 0.3f, 0.2f, 0.4f }));
	EXPECT_EQ(g.trans, bytes({ 0x00, 0x10, 0x10, 0x01, 0x00, 0x11, 0x00, 0x01 }));
	g.reset();
	EXPECT_EQ(g.probs, floats(4, 0.0f));
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
