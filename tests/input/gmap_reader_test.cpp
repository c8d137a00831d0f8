#include "input/genotype_test_utils.h"
#include "input/gmap_reader.h"

using namespace genotest;

namespace {

const std::string header = "position COMBINED_rate(cM/Mb) Genetic_Map(cM)\n";

}

// Starts at position 0 and distance 0, repeats a position, mixes tabs and CR LF ends.
TEST(gmap_reader, ReadsPlainAndCompressedMaps) {
	const std::string map = header + "0 0.0 0\n1000\t1.5\t0.0015\r\n1000 0 0.0015\n  5000 2.0  0.0095  \n";
	for (std::string name : { "m.txt", "m.txt.gz", "m.txt.bz2" }) {
		SCOPED_TRACE(name);
		TempDir d;
		testutils::writeCompressed(d.file(name), map);
		gmap_reader G;
		std::string log = logOf(d, [&] { G.readGeneticMapFile(d.file(name)); });
		EXPECT_EQ(G.pos, std::vector < int > ({ 0, 1000, 1000, 5000 }));
		EXPECT_EQ(G.cm, std::vector < double > ({ 0, 0.0015, 0.0015, 0.0095 }));
		EXPECT_TRUE(contains(log, "\nReading genetic map in [" + d.file(name) + "]\n  * 4 genetic positions found\n")) << log;
	}
}

TEST(gmap_reader, FatalMessages) {
	TempDir d;
	expectFaults(d, {}, {
		{ "m", header + "100 1 0.1\n200 1\n", "Parsing line 1 : incorrect number of columns, observed: 2 expected: 3" },
		{ "m", header + "100 1 0.1\n\n200 1 0.2\n", "Parsing line 1 : incorrect number of columns, observed: 0 expected: 3" },
		{ "m", header + "100 1 0.1\n200 1 0.2\n150 1 0.3\n", "Wrong order in your genetic map file 200bp / 0\\.20000cM > 150bp / 0\\.30000cM" },
		{ "m", header + "100 1 0.1\n200 1 0.25\n300 1 0.125\n", "Wrong order in your genetic map file 200bp / 0\\.25000cM > 300bp / 0\\.12500cM" },
		{ "m", header + "100 1 0.1\n100 1 0.2\n", "Genetic map \\[.*/m\\] has 1 distinct positions, at least 2 are needed to interpolate" },
		{ "m", "", "has 0 distinct positions" },
		// Every comparison with NaN is false: the order test alone would let it through.
		{ "m", header + "100 1 0.1\n200 1 nan\n300 1 0.3\n", "Genetic position nan at line 3 of \\[.*/m\\] is not a finite number" },
		{ "m", header + "100 1 0.1\n200 1 inf\n", "Genetic position inf at line 3 of \\[.*/m\\] is not a finite number" },
		{ "m", header + "2147483648 1 0.1\n", "Position 2147483648 at line 2 of \\[.*/m\\] is out of range" },
	}, [&] { gmap_reader().readGeneticMapFile(d.file("m")); });
	EXPECT_LOG_ERROR(gmap_reader().readGeneticMapFile(d.file("missing")), "Impossible to open file \\[.*/missing\\]");
	testutils::writeCompressed(d.file("cut.gz"), header + std::string(20000, '1'));
	std::string gz = d.read("cut.gz");
	d.write("cut.gz", gz.substr(0, gz.size() / 2));
	EXPECT_THROW(gmap_reader().readGeneticMapFile(d.file("cut.gz")), std::ios_base::failure);
}
