#include "input/pair_reader.h"
#include "test_utils.h"

using testutils::TempDir;

namespace {

// Sites at 100, 200, 300 and two at 400, as left by a split multi-allelic locus.
void makeSites(snp_set & S) {
	S.put(new snp("1", 100, "A", "C", 5));
	S.put(new snp("1", 200, "A", "G", 5));
	S.put(new snp("1", 300, "C", "T", 5));
	S.put(new snp("1", 400, "A", "C", 5));
	S.put(new snp("1", 400, "A", "T", 5));
	S.indexing();
}

void readSets(const std::string & file, bool check) {
	snp_set S;
	makeSites(S);
	pair_reader P;
	P.readPairs(file, &S);
	if (check) P.checkAndOrder();
}

}

TEST(pair_reader, ReadsWindowsAndOrdersThem) {
	const std::string sets = "w1 300 100\nw2\t200 200\r\nw3 300 200 100\n";
	for (std::string name : { "s.txt", "s.txt.gz", "s.txt.bz2" }) {
		SCOPED_TRACE(name);
		TempDir d;
		if (name == "s.txt") d.write(name, sets);
		else testutils::writeCompressed(d.file(name), sets);
		testutils::silenceLog();
		snp_set S;
		makeSites(S);
		pair_reader P;
		P.readPairs(d.file(name), &S);
		EXPECT_EQ(P.id, std::vector < std::string > ({ "w1", "w2", "w3" }));
		EXPECT_EQ(P.sites, std::vector < std::vector < int > > ({ { 2, 0 }, { 1, 1 }, { 2, 1, 0 } }));
		P.checkAndOrder();
		EXPECT_EQ(P.sites, std::vector < std::vector < int > > ({ { 0, 2 }, { 1, 1 }, { 0, 1, 2 } }));
	}
}

TEST(pair_reader, BadSetsAreFatal) {
	TempDir d;
	d.write("short", "w1 100 200\nw2 100\n");
	EXPECT_LOG_ERROR(readSets(d.file("short"), false), "Line=1 found=2 expected at least 3");
	d.write("none", "w1 100 250\n");
	EXPECT_LOG_ERROR(readSets(d.file("none"), false), "No site at position = 250");
	d.write("multi", "w1 100 400\n");
	EXPECT_LOG_ERROR(readSets(d.file("multi"), false), "More than 1 site at position = 400");
	d.write("dup", "w1 100 200\nw2 100 300\nw1 200 300\n");
	EXPECT_LOG_ERROR(readSets(d.file("dup"), true), "Duplicate window ID = w1");
	EXPECT_LOG_ERROR(readSets(d.file("missing"), false), "Impossible to open file");
}
