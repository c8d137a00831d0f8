#include "utils/futils.h"
#include "utils/sutils.h"

#include <gtest/gtest.h>
#include <sstream>

TEST(sutils, Formatting) {
	EXPECT_EQ(sutils::int2str(-42) + "," + sutils::long2str(12345678901L) + "," + sutils::double2str(0.5, 2) + "," + sutils::double2str(0.5), "-42,12345678901,0.50,0.500000");
	EXPECT_EQ(sutils::int2str(std::vector < int > ({ 1, -1, 0, 12 })) + "," + sutils::bool2str(std::vector < bool > ({ true, false, true })) + "," + sutils::double2str(std::vector < double > ({ 1.0, 0.25 }), 2), "1-012,101,1.00 0.25 ");
	for (const auto & d : std::vector < std::pair < double, std::string > > ({ { 0.421, "0.42 s" }, { 187, "3m07s" }, { 7500, "2h05m" } })) EXPECT_EQ(sutils::duration2str(d.first), d.second);
}

TEST(sutils, Tokenize) {
	std::vector < std::string > t = { "stale" };
	std::string empty = "", blanks = " \t  ";
	EXPECT_EQ(sutils::tokenize(empty, t), 0);
	EXPECT_TRUE(t.empty());
	EXPECT_EQ(sutils::tokenize(blanks, t), 0);
	std::string crlf = "a\tb\r";
	ASSERT_EQ(sutils::tokenize(crlf, t), 2);
	EXPECT_EQ(t[1], "b");
	std::string padded = "  x  y\t\tz ";
	ASSERT_EQ(sutils::tokenize(padded, t), 3);
	EXPECT_EQ(t[0], "x");
	EXPECT_EQ(t[2], "z");
	std::string csv = "1,2,,3";
	EXPECT_EQ(sutils::tokenize(csv, t, ","), 3);
	std::string lone_cr = "a b \r";
	EXPECT_EQ(sutils::tokenize(lone_cr, t), 2);
	// The bounded form stops early and leaves carriage returns alone.
	std::string many = "c1 c2 c3 c4 c5\r";
	ASSERT_EQ(sutils::tokenize(many, t, 2), 2);
	EXPECT_EQ(t[1], "c2");
	std::string two = "c1 c2\r";
	ASSERT_EQ(sutils::tokenize(two, t, 5), 2);
	EXPECT_EQ(t[1], "c2\r");
}

TEST(futils, ExtensionAndBitVectors) {
	EXPECT_EQ(futils::extensionFile("a.vcf.gz"), "gz");
	EXPECT_EQ(futils::extensionFile("noext"), "");
	EXPECT_EQ(futils::extensionFile("dir.d/file"), "d/file");

	std::stringstream s;
	futils::bool2binary(std::vector < bool > (), s);
	EXPECT_EQ(s.str().size(), 4u);

	std::vector < bool > nine = { true, false, false, true, false, false, false, false, true };
	std::stringstream s9;
	futils::bool2binary(nine, s9);
	std::string bytes = s9.str();
	ASSERT_EQ(bytes.size(), 6u);
	EXPECT_EQ((unsigned char)bytes[4], 0x09);
	EXPECT_EQ((unsigned char)bytes[5], 0x01);
	std::vector < bool > back;
	EXPECT_TRUE(futils::binary2bool(back, s9));
	EXPECT_EQ(back, nine);

	// A stream that ends in the middle fails before the vector is sized: a corrupt bit
	// count allocates nothing the file does not hold.
	std::stringstream cut(bytes.substr(0, 5));
	std::vector < bool > partial;
	EXPECT_FALSE(futils::binary2bool(partial, cut));
	EXPECT_TRUE(partial.empty());
}
