#include "utils/futils.h"
#include "utils/sutils.h"

#include <gtest/gtest.h>
#include <sstream>

// Blanks around and between fields, a carriage return of a CR LF line end, other separators;
// the bounded form stops early and leaves carriage returns alone.
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

// Bit vectors as the graph files hold them; a stream that ends in the middle fails before
// the vector is sized, so a corrupt bit count allocates nothing the file does not hold.
TEST(futils, BitVectors) {
	std::vector < bool > nine = { true, false, false, true, false, false, false, false, true }, back;
	std::stringstream s9;
	futils::bool2binary(nine, s9);
	const std::string bytes = s9.str();
	EXPECT_EQ(bytes.substr(4), "\x09\x01");
	EXPECT_TRUE(futils::binary2bool(back, s9));
	EXPECT_EQ(back, nine);
	std::stringstream cut(bytes.substr(0, 5));
	std::vector < bool > partial;
	EXPECT_FALSE(futils::binary2bool(partial, cut));
	EXPECT_TRUE(partial.empty());
}
