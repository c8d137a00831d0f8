#include "input/bamlist_reader.h"
#include "input/genotype_test_utils.h"
#include "input/gmap_reader.h"
#include "input/pair_reader.h"

using namespace genotest;

namespace {

const std::string header = "position COMBINED_rate(cM/Mb) Genetic_Map(cM)\n";

// Sites at 100, 200, 300 and two at 400, as left by a split multi-allelic locus.
void makeSites(snp_set & S) {
	for (int bp : { 100, 200, 300, 400 }) S.put(new snp("1", bp, "A", "C", 5));
	S.put(new snp("1", 400, "A", "T", 5));
	S.indexing();
}

}

// One map in each layout: from position 0 and distance 0, a repeated position, tabs and CR LF ends; the 4-column layouts hold other chromosomes too.
TEST(gmap_reader, LayoutsAndFatalMessages) {
	const std::string rows = "0 0.0 0\n1000\t1.5\t0.0015\r\n1000 0 0.0015\n  5000 2.0  0.0095  \n";
	const std::string wide = "chr pos rate cM\n19 10 1 0.5\nchr20 0 0.0 0\n20\t1000\t1.5\t0.0015\r\n20 1000 0 0.0015\n  chr20 5000 2.0  0.0095  \n21 1 1 1\n";
	const std::string plink = "19 a 0.5 10\n20 . 0 0\nchr20\tb\t0.0015\t1000\r\n20 c 0.0015 1000\n  20 d 0.0095  5000  \n";
	for (const auto & map : std::vector < std::pair < std::string, std::string > > { { "m.txt.bz2", header + rows }, { "bare.txt", rows }, { "wide.txt", wide }, { "plink.map", plink } }) {
		TempDir d;
		testutils::writeCompressed(d.file(map.first), map.second);
		gmap_reader G;
		std::string log = logOf(d, [&] { G.readGeneticMapFile(d.file(map.first), "chr20"); });
		EXPECT_EQ(G.pos, std::vector < int > ({ 0, 1000, 1000, 5000 })) << map.first;
		EXPECT_EQ(G.cm, std::vector < double > ({ 0, 0.0015, 0.0015, 0.0095 })) << map.first;
		EXPECT_TRUE(has(log, "\nReading genetic map in [" + d.file(map.first) + "]\n") && has(log, "  * 4 genetic positions found\n")) << log;
	}

	// Every fault names the file and its line, counted from 1.
	TempDir d;
	expectFaults(d, {}, {
		{ "m", header + "100 1 0.1\n200 1\n", "Incorrect number of columns at line 3 of \\[.*/m\\], observed: 2 expected: 3" },
		{ "m", "100 1 0.1\n\n200 1 0.2\n", "Incorrect number of columns at line 2 of \\[.*/m\\], observed: 0 expected: 3" },
		{ "m", "1 2 3 4 5\n", "Genetic map \\[.*/m\\] has 5 columns on its first line; expected 3" },
		{ "m", header + "100 1 0.1\n200 1 0.2\n150 1 0.3\n", "Wrong order in your genetic map file 200bp / 0\\.20000cM > 150bp / 0\\.30000cM at line 4 of \\[.*/m\\]" },
		{ "m", header + "100 1 0.1\n200 1 0.25\n300 1 0.125\n", "Wrong order in your genetic map file 200bp / 0\\.25000cM > 300bp / 0\\.12500cM at line 4" },
		{ "m", header + "100 1 0.1\n100 1 0.2\n", "Genetic map \\[.*/m\\] has 1 distinct positions, at least 2 are needed to interpolate" },
		{ "m", "", "has 0 distinct positions" },
		{ "m", "c p r cM\n21 100 1 0.1\n21 200 1 0.2\n", "Genetic map \\[.*/m\\] has no line for chromosome \\[20\\]" },
		// Every comparison with NaN is false: the order test alone would let it through.
		{ "m", header + "100 1 0.1\n200 1 nan\n300 1 0.3\n", "Genetic position nan at line 3 of \\[.*/m\\] is not a finite number" },
		{ "m", "20 a 0.1 100\n20 b inf 200\n", "Genetic position inf at line 2 of \\[.*/m\\] is not a finite number" },
		{ "m", header + "2147483648 1 0.1\n", "Position 2147483648 at line 2 of \\[.*/m\\] is out of range" },
	}, [&] { gmap_reader().readGeneticMapFile(d.file("m"), "20"); });
	EXPECT_LOG_ERROR(gmap_reader().readGeneticMapFile(d.file("missing"), "20"), "Impossible to open file \\[.*/missing\\]");
}

// Plain and compressed lists; faults name the line.
TEST(pair_reader, ReadsWindowsOrdersThemAndFatalMessages) {
	TempDir d;
	testutils::silenceLog();
	for (std::string name : { "s.txt", "s.txt.gz", "s.txt.bz2" }) {
		testutils::writeCompressed(d.file(name), "w1 300 100\nw2\t200 200\r\nw3 300 200 100\n");
		snp_set S;
		makeSites(S);
		pair_reader P;
		P.readPairs(d.file(name), &S);
		EXPECT_TRUE(P.id == std::vector < std::string > ({ "w1", "w2", "w3" }) && P.sites == std::vector < std::vector < int > > ({ { 2, 0 }, { 1, 1 }, { 2, 1, 0 } })) << name;
		P.checkAndOrder();
		EXPECT_EQ(P.sites, std::vector < std::vector < int > > ({ { 0, 2 }, { 1, 1 }, { 0, 1, 2 } })) << name;
	}
	expectFaults(d, {}, {
		{ "s", "w1 100 200\n\nw2 100\n", "Line=3 found=2 expected at least 3 at line 3 of \\[.*s\\]" },
		{ "s", "w1 100 250\n", "No site at position = 250 at line 1 of \\[.*s\\]" },
		{ "s", "w1 100 400\n", "More than 1 site at position = 400" },
		{ "s", "w1 100 200\nw2 100 300\nw1 200 300\n", "Duplicate window ID = w1" },
	}, [&] { snp_set S; makeSites(S); pair_reader P; P.readPairs(d.file("s"), &S); P.checkAndOrder(); });
	EXPECT_LOG_ERROR(pair_reader().readPairs(d.file("missing"), nullptr), "Impossible to open file \\[.*/missing\\]");
}

// Blanks, tabs and CR LF ends, a compressed list, an empty one; faults name the line.
TEST(bamlist_reader, ReadsThreeColumnsAndFatalMessages) {
	testutils::silenceLog();
	TempDir d;
	testutils::writeCompressed(d.file("l.txt.gz"), "s1 /data/s1.bam 3\ns2\t/data/s2.bam\t-1\r\n");
	bamlist_reader B;
	B.readBamList(d.file("l.txt.gz"));
	EXPECT_TRUE(B.col0 == std::vector < std::string > ({ "s1", "s2" }) && B.col1 == std::vector < std::string > ({ "/data/s1.bam", "/data/s2.bam" }) && B.col2 == std::vector < int > ({ 3, -1 }));
	d.write("empty", "");
	bamlist_reader E;
	E.readBamList(d.file("empty"));
	EXPECT_TRUE(E.col0.empty() && E.col1.empty() && E.col2.empty());
	expectFaults(d, {}, {
		{ "l", "s1 a.bam 1\ns2 b.bam\n", "Parsing line 1 : incorrect number of columns, observed: 2 expected: 3" },
		{ "l", "s1 a.bam 1 x\n", "Parsing line 0 : incorrect number of columns, observed: 4 expected: 3" },
	}, [&] { bamlist_reader().readBamList(d.file("l")); });
	EXPECT_LOG_ERROR(bamlist_reader().readBamList(d.file("missing")), "Impossible to open file \\[.*/missing\\]");
}
