#ifndef _REFERENCE_READER_H
#define _REFERENCE_READER_H

#include "input/filter_reader.h"
#include "objects/snp_set.h"

#include <string>
#include <vector>

// One fault found while aligning the panel sites on the study sites.
struct alignment_problem {
	std::string type;
	int pos;
	std::string main_id;
	std::string main_A;
	std::string main_B;
	bool main_flippable;
	std::string ref_id;
	std::string ref_A;
	std::string ref_B;
	bool ref_flippable;
};

// Reads a reference panel (haplotypes, legend and samples files) and stores its
// haplotypes at the resolution of the study sites: bit true = the study site's second allele.
class reference_reader {
public:
	filter_reader & filter;
	snp_set * main_sites;
	snp_set * ref_sites;
	std::vector < std::string > ind_id;
	std::vector < bool > ind_male;
	std::vector < alignment_problem > problems;
	std::vector < std::vector < bool > > hap0;
	std::vector < std::vector < bool > > hap1;

	reference_reader(filter_reader & filter, snp_set * main_sites);
	~reference_reader();
	reference_reader(const reference_reader &) = delete;
	reference_reader & operator=(const reference_reader &) = delete;

	void readReferenceImpute(std::string haplotypes, std::string legend, std::string samples);
	bool empty();
	int putInd(std::string & id, std::string & group1, std::string & group2);
	void checkConsistency();

private:
	void readSamples(std::string samples, std::vector < int > & columns);
	void readLegend(std::string legend, std::vector < int > & ref_to_main, std::vector < bool > & ref_flip);
	void readHaplotypes(std::string haplotypes, const std::vector < int > & columns, const std::vector < int > & ref_to_main, const std::vector < bool > & ref_flip);
	void addProblem(std::string type, snp * main_site, snp * ref_site, bool ref_flippable);
	void writeProblems();
};

#endif
