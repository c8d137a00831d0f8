#ifndef _HAPLOTYPE_READER_H
#define _HAPLOTYPE_READER_H

#include "input/filter_reader.h"
#include "objects/snp_set.h"

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

// Reads phased haplotypes from a HAPS/SAMPLE pair. Its site list goes with it: the
// haplotypes are mapped onto the study's sites before the reader is gone.
class haplotype_reader {
public:
	filter_reader & filter;
	std::string sample_header1;
	std::string sample_header2;
	std::vector < std::string > ind_id;
	// Position of each identifier in ind_id: duplicate and parent look-ups stay constant-time in large cohorts.
	std::unordered_map < std::string, int > ind_index;
	std::vector < std::vector < std::string > > ind_fields;
	std::unique_ptr < snp_set > sites;
	std::vector < std::vector < bool > > hap0;
	std::vector < std::vector < bool > > hap1;

	haplotype_reader(filter_reader & filter);

	void readHaplotypeImpute(std::string haps, std::string sample);
	int getInd(std::string & id);
	bool putInd(std::string & id);
	snp * putSnp(std::string chr, int pos, std::string a0, std::string a1);

private:
	void readSamples(std::string sample, std::vector < bool > & mask);
	void readHaps(std::string haps, const std::vector < bool > & mask);
};

#endif
