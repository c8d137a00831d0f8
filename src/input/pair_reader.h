#ifndef _PAIR_READER_H
#define _PAIR_READER_H

#include "objects/snp_set.h"

#include <string>
#include <vector>

// Windows of sites over which haplotype pairs are tabulated: one line per window, its
// identifier followed by the positions of at least two sites.
class pair_reader {
public:
	std::vector < std::string > id;
	std::vector < std::vector < int > > sites;

	pair_reader();

	void readPairs(std::string file, snp_set * S);
	void checkAndOrder();
};

#endif
