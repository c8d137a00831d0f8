#include "input/genotype_test_utils.h"
#include "input/pair_reader.h"

using namespace genotest;

namespace {

// Sites at 100, 200, 300 and two at 400, as left by a split multi-allelic locus.
void makeSites(snp_set & S) {
	for (int bp : { 100, 200, 300, 400 }) S.put(new snp("1", bp, "A", "C", 5));
	S.put(new snp("1", 400, "A", "T", 5));
	S.indexing();
}

}

TEST(pair_reader, ReadsWindowsAndOrdersThem) {
	const std::string sets = "w1 300 100\nw2\t200 200\r\nw3 300 200 100\n";
	for (std::string name : { "s.txt", "s.txt.gz", "s.txt.bz2" }) {
		SCOPED_TRACE(name);
		TempDir d;
		testutils::writeCompressed(d.file(name), sets);
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

TEST(pair_reader, FatalMessages) {
	TempDir d;
	expectFaults(d, {}, {
		{ "s", "w1 100 200\n\nw2 100\n", "Line=3 found=2 expected at least 3 at line 3 of \\[.*s\\]" },
		{ "s", "w1 100 250\n", "No site at position = 250 at line 1 of \\[.*s\\]" },
		{ "s", "w1 100 400\n", "More than 1 site at position = 400" },
		{ "s", "w1 100 200\nw2 100 300\nw1 200 300\n", "Duplicate window ID = w1" },
	}, [&] { snp_set S; makeSites(S); pair_reader P; P.readPairs(d.file("s"), &S); P.checkAndOrder(); });
	EXPECT_LOG_ERROR(pair_reader().readPairs(d.file("missing"), nullptr), "Impossible to open file \\[.*/missing\\]");
}
