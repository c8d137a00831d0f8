#include "objects/snp.h"

#include <gtest/gtest.h>

// Only a PED site (source 1) with no second allele gets by with a single one-letter allele.
// Alleles come as they are met: the first is coded 0, the second 1, a third refused.
TEST(snp, IsSNPAndAllelesOfPedSites) {
	EXPECT_TRUE(snp("1", 1, "A", "G", 5).isSNP() && snp("1", 1, "A", "", 1).isSNP());
	EXPECT_FALSE(snp("1", 1, "A", "TC", 5).isSNP() || snp("1", 1, "A", "TC", 1).isSNP() || snp("1", 1, "A", "", 5).isSNP() || snp("1", 1, "AT", "", 1).isSNP());
	snp p;
	EXPECT_EQ(std::vector < int > ({ p.push("G"), p.push("G"), p.push("T"), p.push("G"), p.push("C") }), std::vector < int > ({ 0, 0, 1, 0, -1 }));
	EXPECT_EQ(p.a0 + p.a1, "GT");
}
