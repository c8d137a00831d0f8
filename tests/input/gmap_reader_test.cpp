#include "input/gmap_reader.h"
#include "test_utils.h"

using testutils::TempDir;

namespace {

void writeMap(const TempDir & d, const std::string & name, const std::string & content) {
	if (name.find(".gz") != std::string::npos || name.find(".bz2") != std::string::npos) testutils::writeCompressed(d.file(name), content);
	else d.write(name, content);
}

void readMap(const std::string & file) {
	gmap_reader G;
	G.readGeneticMapFile(file);
}

const std::string header = "position COMBINED_rate(cM/Mb) Genetic_Map(cM)\n";

}

// Starts at position 0 and distance 0, repeats a position, mixes tabs and CR LF ends.
TEST(gmap_reader, ReadsPlainAndCompressedMaps) {
	const std::string map = header + "0 0.0 0\n1000\t1.5\t0.0015\r\n1000 0 0.0015\n  5000 2.0  0.0095  \n";
	for (std::string name : { "m.txt", "m.txt.gz", "m.txt.bz2" }) {
		SCOPED_TRACE(name);
		TempDir d;
		writeMap(d, name, map);
		LOG.muteC();
		LOG.unmuteL();
		ASSERT_TRUE(LOG.open(d.file("run")));
		gmap_reader G;
		G.readGeneticMapFile(d.file(name));
		LOG.close();
		testutils::silenceLog();
		EXPECT_EQ(G.pos, std::vector < int > ({ 0, 1000, 1000, 5000 }));
		ASSERT_EQ(G.cm.size(), 4u);
		EXPECT_DOUBLE_EQ(G.cm[1], 0.0015);
		EXPECT_DOUBLE_EQ(G.cm[3], 0.0095);
		std::string log = d.read("run.log");
		EXPECT_NE(log.find("\nReading genetic map in [" + d.file(name) + "]\n  * 4 genetic positions found\n"), std::string::npos) << log;
	}
}

TEST(gmap_reader, BadMapsAreFatal) {
	TempDir d;
	d.write("cols", header + "100 1 0.1\n200 1\n");
	EXPECT_LOG_ERROR(readMap(d.file("cols")), "Parsing line 1 : incorrect number of columns, observed: 2 expected: 3");
	d.write("blank", header + "100 1 0.1\n\n200 1 0.2\n");
	EXPECT_LOG_ERROR(readMap(d.file("blank")), "Parsing line 1 : incorrect number of columns, observed: 0 expected: 3");
	d.write("pos", header + "100 1 0.1\n200 1 0.2\n150 1 0.3\n");
	EXPECT_LOG_ERROR(readMap(d.file("pos")), "Wrong order in your genetic map file 200bp / 0\\.20000cM > 150bp / 0\\.30000cM");
	d.write("dist", header + "100 1 0.1\n200 1 0.25\n300 1 0.125\n");
	EXPECT_LOG_ERROR(readMap(d.file("dist")), "Wrong order in your genetic map file 200bp / 0\\.25000cM > 300bp / 0\\.12500cM");
	d.write("one", header + "100 1 0.1\n100 1 0.2\n");
	EXPECT_LOG_ERROR(readMap(d.file("one")), "has 1 distinct positions, at least 2 are needed");
	d.write("empty", "");
	EXPECT_LOG_ERROR(readMap(d.file("empty")), "has 0 distinct positions");
	EXPECT_LOG_ERROR(readMap(d.file("missing")), "Impossible to open file");
	testutils::writeCompressed(d.file("cut.gz"), header + std::string(20000, '1'));
	std::string gz = d.read("cut.gz");
	d.write("cut.gz", gz.substr(0, gz.size() / 2));
	EXPECT_THROW(readMap(d.file("cut.gz")), std::ios_base::failure);
}
