#ifndef _GRAPH_READER_H
#define _GRAPH_READER_H

#include "objects/genotype_graph.h"
#include "objects/snp_set.h"
#include "utils/ifile.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// Reads binary graph files: v2.2 and v2.1 from one file, v2.0 from a graph file with its
// text lists of sites and samples. The reader owns its site list until a longer-lived
// owner moves it out; the graphs are left alive for the set that takes them over. Every
// graph is checked as it is read, against the site count and its own counters, and so is
// the checksum that ends files written since it was added: a fault ends the run naming the
// file and the graph.
class graph_reader {
public:
	std::string header1;
	std::string header2;
	std::vector < genotype_graph * > vecG;
	std::unique_ptr < snp_set > S;

	graph_reader();

	void readBinaryGraph(std::string filename);
	void readBinaryGraph20(std::string graphFile, std::string sampleFile, std::string siteFile);

private:
	void readSites(ifile & f, bool v22, const std::string & filename);
	void checkTrailer(ifile & f, const std::string & filename, const unsigned long & crc);
	void readSiteList(std::string siteFile);
	void readSampleList(std::string sampleFile);
};

#endif
