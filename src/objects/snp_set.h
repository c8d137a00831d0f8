#ifndef _SNP_SET_H
#define _SNP_SET_H

#include "objects/snp.h"

#include <map>
#include <string>
#include <vector>

class chaplotype;

// The ordered list of all sites, owning them, with a look-up by physical position.
class snp_set {
public:
	std::vector < snp * > vecS;
	std::multimap < int, snp * > mapS;
	// The lines of a VCF input's header that describe its sites (##contig, ##INFO, ##FILTER,
	// ##FORMAT), as they were, for the VCF output to declare the same.
	std::vector < std::string > vcf_header;

	snp_set();
	~snp_set();
	// The set owns its sites: a copy would delete them twice.
	snp_set(const snp_set &) = delete;
	snp_set & operator=(const snp_set &) = delete;

	int size();
	snp * getByIndex(int i);
	void put(snp * s);
	void indexing();

	snp * getByRef(int bp, std::string & a0, std::string & a1);
	snp * getByRef(int bp, std::string & a0, std::string & a1, int & strand);

	int setCentiMorgan(std::vector < int > & pos, std::vector < double > & cm);
	int interpolateCentiMorgan(std::vector < int > & pos, std::vector < double > & cm);

	std::string toString(chaplotype & h, std::string sep);
	std::string toString(chaplotype & h, int first, std::string sep);
	std::string toString(const std::vector < bool > & h, std::vector < int > & sites, std::string sep);
};

#endif
