#include "objects/genotype_graph.h"

#include <gtest/gtest.h>

typedef std::vector < unsigned char > bytes;
typedef std::vector < float > floats;

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
