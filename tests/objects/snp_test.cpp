#include "objects/snp.h"

#include <gtest/gtest.h>

// Only a PED site (source 1) with no second allele gets by with a single one-letter allele.
TEST(snp, IsSNP) {
	EXPECT_TRUE(snp("1", 1, "A", "G", 5).isSNP() && snp("1", 1, "A", "", 1).isSNP());
	EXPECT_FALSE(snp("1", 1, "A", "TC", 5).isSNP() || snp("1", 1, "A", "TC", 1).isSNP() || snp("1", 1, "A", "", 5).isSNP() || snp("1", 1, "AT", "", 1).isSNP());
}
