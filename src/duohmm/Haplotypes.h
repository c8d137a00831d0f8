#ifndef _HAPLOTYPES_H
#define _HAPLOTYPES_H

#include "objects/chaplotype.h"

#include <array>
#include <map>
#include <string>
#include <vector>

class filter_writer;
class genhap_set;

// The haplotypes of all samples as bit vectors, with the sites where each sample's genotype
// was missing: what the pedigree refinement reads and corrects in place. Haplotypes 2k and
// 2k + 1 belong to sample k.
class Haplotypes {
public:
	std::string filename;
	std::vector < std::string > ids;
	std::vector < std::string > rsid1;
	std::vector < std::string > rsid2;
	std::vector < std::string > allele_a;
	std::vector < std::string > allele_b;
	std::vector < int > positions;
	std::map < std::string, int > idlook;
	int nsnp;
	int nhap;
	std::vector < chaplotype > haps;
	std::vector < int > order;
	std::vector < chaplotype > _missing;
	// Scratch of impute, one entry per haplotype.
	std::vector < float > left;
	std::vector < float > right;
	// Per sample: its number here, its record in the set, and the record's type.
	std::vector < std::array < int, 3 > > orderI;
	// Set by the first constructor only.
	filter_writer * filter;
	genhap_set * set;

	// The most likely haplotypes of a phasing run; every sample record must pass the output
	// filter. Sites that do not pass it stay 0, position included.
	Haplotypes(filter_writer & filter, genhap_set & set);
	// stem + ".sample" and stem + ".haps".
	Haplotypes(std::string stem);

	chaplotype * getHap(const std::string & id);
	// Null for an id that is not a sample, such as "0".
	chaplotype * getMissing(const std::string & id);

	// Mean allele at site of the other haplotypes, each weighted by the length of the
	// stretch around site over which it matches hap.
	float impute(int hap, int site);
	void impute(const std::string & id, int site);

	void writeHaps(std::string stem);
	// Copies the haplotypes back into the set they were taken from.
	void getSORVANE2(filter_writer & filter, genhap_set & set);

private:
	void addSamples(int n);
	void addSites(int n);
	// Half-widths of the stretch around site over which haplotypes i and hap agree, towards
	// the end and towards the start, in kb.
	float rightWidth(int i, int hap, int site) const;
	float leftWidth(int i, int hap, int site) const;
};

#endif
