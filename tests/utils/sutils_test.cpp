#include "utils/sutils.h"

#include <gtest/gtest.h>

// Blanks around and between fields, the CR of a CR LF line end, other separators; the bounded form stops early and leaves carriage returns alone.
TEST(sutils, Tokenize) {
	std::vector < std::string > t = { "stale" };
	for (const auto & c : std::vector < std::pair < std::string, std::string > > { { "", "" }, { " \t  ", "" }, { "a\tb\r", "a|b" }, { "  x  y\t\tz ", "x|y|z" }, { "a b \r", "a|b" } }) {
		std::string line = c.first, joined;
		sutils::tokenize(line, t);
		for (size_t k = 0 ; k < t.size() ; k ++) joined += (k ? "|" : "") + t[k];
		EXPECT_EQ(joined, c.second) << c.first;
	}
	std::string csv = "1,2,,3", many = "c1 c2 c3 c4 c5\r", two = "c1 c2\r";
	EXPECT_EQ(sutils::tokenize(csv, t, ","), 3);
	EXPECT_EQ(sutils::tokenize(many, t, 2), 2);
	ASSERT_EQ(sutils::tokenize(two, t, 5), 2);
	EXPECT_EQ(t[1], "c2\r");
}
