#ifndef _HET_SITES_H
#define _HET_SITES_H

#include "objects/snp_set.h"

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

// The biallelic sites of a VCF, in file order, and for each of its samples the sites where
// the sample is heterozygous (missing genotypes are not).
class het_sites {
public:
	std::unique_ptr < snp_set > sites;
	std::vector < int > position;
	std::string chr;
	std::unordered_map < std::string, int > sample_index;
	std::vector < std::vector < bool > > het;

	het_sites();

	// Reads the sites of a region (all of them when empty) and the genotypes of the named
	// samples only; the reader ends the run when no site is left.
	void readVcf(std::string vcf, std::string region, const std::vector < std::string > & names);
	// Index of a sample, -1 when the VCF does not have it.
	int getSample(const std::string & name);
	// Index of the first site at or after bp (the number of sites when there is none).
	int firstFrom(int bp);
	int size();
};

#endif
