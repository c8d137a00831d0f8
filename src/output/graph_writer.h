#ifndef _GRAPH_WRITER_H
#define _GRAPH_WRITER_H

#include "containers/genhap_set/genhap_set.h"
#include "utils/ofile.h"

#include <string>

class snp;

// Writes the sites and graphs of a set to a binary graph file (v2.2), from which haplotypes
// can be drawn again without the genotypes. Emission weights, missing bits and the scaffold
// flag are not part of the format.
class graph_writer {
public:
	genhap_set & set;
	std::string header1;
	std::string header2;

	graph_writer(genhap_set & set, std::string header1, std::string header2);

	void writeBinaryGraph(std::string filename);

private:
	void writeSite(ofile & f, snp & s);
};

#endif
