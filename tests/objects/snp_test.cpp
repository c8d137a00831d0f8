#include "objects/snp.h"
#include "modes/sorvane.h"

#include <gtest/gtest.h>

TEST(snp, ConstructionAndAlleles) {
	snp e;
	EXPECT_TRUE(e.chr.empty() && e.id.empty() && e.a0.empty() && e.a1.empty());
	EXPECT_EQ(e.bp, 0);
	EXPECT_EQ(e.cm, -1.0);
	EXPECT_EQ(e.idx, -1);

	snp s("chr7", 1234, "A", "TC", 5);
	s.id = "rs1";
	s.properties.push_back("extra");
	EXPECT_EQ(s.cm, -1.0);
	EXPECT_EQ(s.idx, -1);
	EXPECT_EQ(s.get(false), "A");
	EXPECT_EQ(s.get(true), "TC");

	s.cm = 0.25;
	s.idx = 3;
	snp c(&s);
	EXPECT_EQ(c.chr, "chr7");
	EXPECT_EQ(c.id, "rs1");
	EXPECT_EQ(c.properties, std::vector < std::string > ({ "extra" }));
	EXPECT_EQ(c.a0, "A");
	EXPECT_EQ(c.a1, "TC");
	EXPECT_EQ(c.cm, 0.25);
	EXPECT_EQ(c.bp, 1234);
	EXPECT_EQ(c.idx, 3);
	EXPECT_EQ(c.source, 5);
}

// Only a PED site (source 1) with no second allele gets by with a single one-letter allele.
TEST(snp, IsSNP) {
	EXPECT_TRUE(snp("1", 1, "A", "G", 5).isSNP());
	EXPECT_FALSE(snp("1", 1, "A", "TC", 5).isSNP());
	EXPECT_FALSE(snp("1", 1, "A", "TC", 1).isSNP());
	EXPECT_FALSE(snp("1", 1, "A", "", 5).isSNP());
	EXPECT_TRUE(snp("1", 1, "A", "", 1).isSNP());
	EXPECT_FALSE(snp("1", 1, "AT", "", 1).isSNP());
	EXPECT_FALSE(snp("1", 1, "", "", 1).isSNP());
	EXPECT_TRUE(snp("1", 1, "A", "C", 1).isSNP());
}

TEST(snp, PushCollectsAllelesInOrderOfAppearance) {
	snp s;
	s.source = 1;
	EXPECT_EQ(s.push("G"), 0);
	EXPECT_EQ(s.push("G"), 0);
	EXPECT_EQ(s.a1, "");
	EXPECT_EQ(s.push("T"), 1);
	EXPECT_EQ(s.push("G"), 0);
	EXPECT_EQ(s.push("T"), 1);
	EXPECT_EQ(s.push("C"), -1);
	EXPECT_EQ(s.a0, "G");
	EXPECT_EQ(s.a1, "T");
}

TEST(snp, StrandFollowsFlippable) {
	unsigned char saved = flippable;
	snp s("1", 10, "A", "T", 5);
	std::string A = "A", T = "T", G = "G";

	flippable = 1;
	EXPECT_EQ(s.strand(A, T), 0);
	EXPECT_EQ(s.strand(T, A), 1);
	EXPECT_EQ(s.strand(A, G), -1);
	EXPECT_EQ(s.strand(G, A), -1);

	flippable = 0;
	EXPECT_EQ(s.strand(A, T), 0);
	EXPECT_EQ(s.strand(T, A), -1);
	flippable = saved;
}
