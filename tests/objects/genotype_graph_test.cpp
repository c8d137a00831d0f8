#include "objects/genotype_graph.h"

#include <gtest/gtest.h>

// Segments "01"/"10" then "0"/"1"; group 1 holds (0, 1) -> (0, 1) and its crossed twin (0, 1) -> (1, 0).
TEST(genotype_graph, HandMadeGraph) {
	genotype_graph g(2, 7);
	std::vector < std::vector < bool > > seg0 = { { 0, 1 }, { 1, 0 } }, seg1 = { { 0 }, { 1 } };
	std::vector < std::vector < int > > t0 = { { 0 }, { 0 }, { 0 }, { 1 } }, t1 = { { 0, 0 }, { 0, 1 }, { 1, 1 }, { 1, 0 } }, t2 = { { 0 }, { 0 }, { 1 }, { 0 } };
	for (auto * s : { &seg0, &seg1 }) g.pushHaps(*s);
	for (auto * t : { &t0, &t1, &t2 }) g.pushTrans(*t);
	// Most probable neighbours, where the first of equals wins.
	g.probs = { 1.0f, 0.5f, 0.5f, 1.0f };
	EXPECT_EQ(std::vector < int > ({ g.maxN(1, 0), g.maxN(2, 4), g.maxP(1, 6) }), std::vector < int > ({ 1, 3, 1 }));
	// Sorting moves the bytes and the emission weights with their transition.
	g.probs = { 1.0f, 0.25f, 0.75f, 1.0f };
	g.likes = { 0.1f, 0.2f, 0.3f, 0.4f };
	g.sort();
	EXPECT_TRUE(g.probs == std::vector < float > ({ 1.0f, 0.75f, 0.25f, 1.0f }) && g.likes == std::vector < float > ({ 0.1f, 0.3f, 0.2f, 0.4f }));
	EXPECT_EQ(g.trans, std::vector < unsigned char > ({ 0x00, 0x10, 0x10, 0x01, 0x00, 0x11, 0x00, 0x01 }));
}
