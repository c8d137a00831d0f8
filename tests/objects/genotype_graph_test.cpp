#include "objects/genotype_graph.h"

#include <gtest/gtest.h>

typedef std::vector < unsigned char > bytes;

namespace {

// Unrelated, two segments: "01"/"10" then "0"/"1". Group 0 enters the state (0, 1); group 1
// holds (0, 1) -> (0, 1) and its crossed twin (0, 1) -> (1, 0); group 2 leaves (0, 1).
genotype_graph handMade() {
	genotype_graph g(2, 7);
	std::vector < std::vector < bool > > seg0 = { { 0, 1 }, { 1, 0 } }, seg1 = { { 0 }, { 1 } };
	std::vector < std::vector < int > > t0 = { { 0 }, { 0 }, { 0 }, { 1 } }, t1 = { { 0, 0 }, { 0, 1 }, { 1, 1 }, { 1, 0 } }, t2 = { { 0 }, { 0 }, { 1 }, { 0 } };
	g.pushHaps(seg0);
	g.pushHaps(seg1);
	g.pushTrans(t0);
	g.pushTrans(t1);
	g.pushTrans(t2);
	return g;
}

}

TEST(genotype_graph, LayoutAndQueries) {
	genotype_graph d;
	EXPECT_EQ(d.type, 255);
	EXPECT_EQ(d.famID, -1);
	EXPECT_EQ(d.fname + d.mname, "00");
	EXPECT_FALSE(d.scaffolded);

	genotype_graph g = handMade();
	EXPECT_EQ(g.trans, bytes({ 0x00, 0x10, 0x00, 0x11, 0x10, 0x01, 0x00, 0x01 }));
	EXPECT_EQ(g.trans.capacity(), g.trans.size());
	EXPECT_EQ(g.probs, std::vector < float > (4, 0.0f));
	EXPECT_EQ(g.probs.capacity(), g.probs.size());
	EXPECT_EQ(g.probsI, std::vector < unsigned int > ({ 0, 1, 3 }));
	EXPECT_EQ(g.probsC, std::vector < unsigned int > ({ 1, 2, 1 }));
	EXPECT_EQ(g.HapsI, std::vector < unsigned int > ({ 0, 4 }));
	EXPECT_EQ(g.HapsC, std::vector < unsigned int > ({ 2, 2 }));
	EXPECT_EQ(g.HapsS, std::vector < unsigned int > ({ 2, 1 }));
	EXPECT_EQ(g.Haps.toString(), "011001");
	EXPECT_EQ(g.getA(0, 1, 0) * 100 + g.getA(0, 1, 1) * 10 + g.getA(1, 1, 0), 101);
	std::vector < int > segments;
	for (int l = -1 ; l <= 3 ; l ++) segments.push_back(g.getB(l));
	EXPECT_EQ(segments, std::vector < int > ({ -1, 0, 0, 1, -1 }));
	EXPECT_FALSE(g.phased());

	// Most probable neighbours: the first of equals wins; the crossed link counts unless
	// the pair is ordered.
	g.probs = { 1.0f, 0.5f, 0.5f, 1.0f };
	EXPECT_EQ(g.maxN(1, 0), 1);
	EXPECT_EQ(g.maxP(1, 6), 1);
	g.probs[2] = 0.7f;
	EXPECT_EQ(g.maxP(1, 6), 2);
	EXPECT_EQ(g.maxN(2, 4), 3);
	g.scaffolded = true;
	EXPECT_EQ(g.maxN(2, 4), -1);
	EXPECT_EQ(g.maxP(1, 6), 1);

	// Distinct bytes, not fragments: a state of two equal fragments is one byte.
	std::vector < bool > seen;
	g.mask1D(1, seen);
	EXPECT_EQ(seen.size(), 256u);
	EXPECT_TRUE(seen[0x00] && seen[0x11] && seen[0x10] && seen[0x01] && !seen[0x02]);
	EXPECT_EQ(g.countHaps(1), 4);
	std::vector < std::vector < int > > same = { { 0 }, { 0 }, { 0 }, { 0 } };
	genotype_graph h(2, 0);
	h.pushTrans(same);
	EXPECT_EQ(h.countHaps(0), 1);
}

TEST(genotype_graph, TransitionComparisons) {
	struct { int type; bool scaffolded; bytes t; bool P, N, L; } cases[] = {
		{ 1, false, { 0x31, 0x13 }, false, false, true },
		{ 2, false, { 0x10, 0x01, 0x00, 0x11 }, true, true, true },
		{ 2, true, { 0x10, 0x01, 0x00, 0x11 }, true, false, false },
		{ 2, false, { 0x22, 0x22, 0x00, 0x11 }, false, false, false },
		{ 3, false, { 0x12, 0x34, 0x56, 0x11, 0x33, 0x55 }, false, true, true },
		{ 4, false, { 0x12, 0x34, 0x56, 0x78, 0x21, 0x43, 0x65, 0x87 }, false, false, true },
		{ 5, false, bytes(10, 0), false, false, false },
	};
	for (auto & c : cases) {
		genotype_graph g(c.type, 0);
		g.scaffolded = c.scaffolded;
		g.trans = c.t;
		EXPECT_EQ(g.equalP(0, c.type), c.P) << c.type << c.scaffolded;
		EXPECT_EQ(g.equalN(0, c.type), c.N) << c.type << c.scaffolded;
		EXPECT_EQ(g.linked(0, c.type), c.L) << c.type << c.scaffolded;
	}
}

TEST(genotype_graph, ProbabilityHousekeeping) {
	genotype_graph g = handMade();
	g.initialise();
	EXPECT_EQ(g.probs, std::vector < float > ({ 1.0f, 0.5f, 0.5f, 1.0f }));
	g.probs = { 2.0f, 1.0f, 3.0f, 4.0f };
	g.likes = { 0.1f, 0.2f, 0.3f, 0.4f };
	g.normalize();
	EXPECT_EQ(g.probs, std::vector < float > ({ 1.0f, 0.25f, 0.75f, 1.0f }));
	// Sorting moves the bytes and the emission weights with their transition.
	g.sort();
	EXPECT_EQ(g.probs, std::vector < float > ({ 1.0f, 0.75f, 0.25f, 1.0f }));
	EXPECT_EQ(g.likes, std::vector < float > ({ 0.1f, 0.3f, 0.2f, 0.4f }));
	EXPECT_EQ(g.trans, bytes({ 0x00, 0x10, 0x10, 0x01, 0x00, 0x11, 0x00, 0x01 }));
	EXPECT_EQ(g.probsI, std::vector < unsigned int > ({ 0, 1, 3 }));
	g.reset();
	EXPECT_EQ(g.probs, std::vector < float > (4, 0.0f));
}
