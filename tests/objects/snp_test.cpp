#include "objects/snp.h"
#include "modes/sorvane.h"

#include <gtest/gtest.h>

// Only a PED site (source 1) with no second allele gets by with a single one-letter allele.
TEST(snp, AllelesAndIsSNP) {
	snp s("chr7", 1234, "A", "TC", 5);
	s.id = "rs1";
	s.properties.push_back("extra");
	s.cm = 0.25;
	snp c(&s);
	EXPECT_EQ(c.chr + c.id + c.properties[0] + c.a0 + c.a1, "chr7rs1extraATC");
	EXPECT_EQ(c.cm, 0.25);
	EXPECT_EQ(c.bp, 1234);
	EXPECT_EQ(c.idx, -1);
	EXPECT_EQ(c.get(false) + c.get(true), "ATC");

	EXPECT_TRUE(snp("1", 1, "A", "G", 5).isSNP());
	EXPECT_FALSE(snp("1", 1, "A", "TC", 5).isSNP());
	EXPECT_FALSE(snp("1", 1, "A", "TC", 1).isSNP());
	EXPECT_FALSE(snp("1", 1, "A", "", 5).isSNP());
	EXPECT_TRUE(snp("1", 1, "A", "", 1).isSNP());
	EXPECT_FALSE(snp("1", 1, "AT", "", 1).isSNP());

	snp p;
	EXPECT_EQ(p.cm, -1.0);
	EXPECT_EQ(p.push("G"), 0);
	EXPECT_EQ(p.push("G"), 0);
	EXPECT_EQ(p.a1, "");
	EXPECT_EQ(p.push("T"), 1);
	EXPECT_EQ(p.push("G"), 0);
	EXPECT_EQ(p.push("C"), -1);
	EXPECT_EQ(p.a0 + p.a1, "GT");
}

TEST(snp, StrandFollowsFlippable) {
	unsigned char saved = flippable;
	snp s("1", 10, "A", "T", 5);
	std::string A = "A", T = "T", G = "G";
	flippable = 1;
	EXPECT_EQ(s.strand(A, T), 0);
	EXPECT_EQ(s.strand(T, A), 1);
	EXPECT_EQ(s.strand(A, G), -1);
	flippable = 0;
	EXPECT_EQ(s.strand(A, T), 0);
	EXPECT_EQ(s.strand(T, A), -1);
	flippable = saved;
}
