#ifndef _EXAMPLE_SUBSET_H
#define _EXAMPLE_SUBSET_H

#include "test_utils.h"

#include <map>
#include <set>

namespace exsubset {

const std::string E = SORVANE_EXAMPLE_DATA;
const std::string PANEL = " --input-ref " + E + "/reference.haplotypes " + E + "/reference.legend " + E + "/reference.samples ";

// The subset: 23 samples with two duos and one trio over the first 100 kb, up to LAST_BP.
extern const int LAST_BP;

void writeSubset(const testutils::TempDir & d);
std::string subsetArgs();
testutils::RunResult phaseSubset(const testutils::TempDir & d, const std::string & args, const std::string & stem);
// Unphased genotypes of the example VCF: sample -> position -> ALT count, -1 when missing.
std::map < std::string, std::map < int, int > > vcfGenotypes();
// Checks the shape of a HAPS/SAMPLE pair of the subset and its genotypes; its number of sites.
int checkPhased(const testutils::TempDir & d, const std::string & stem);

// Faults of the phase confidence of a phased VCF ([0.5, 1] at heterozygotes), and their number.
std::pair < int, int > confidenceFaults(const testutils::TempDir & d, const std::string & vcf);

std::vector < std::vector < std::string > > table(const std::string & file);

// A HAPS/SAMPLE pair: sample ids, and per position the two alleles and those of all haplotypes.
struct Haplotypes {
	std::vector < std::string > ids;
	std::map < int, std::pair < std::string, std::string > > sites;
	std::map < int, std::vector < int > > alleles;

	explicit Haplotypes(const std::string & stem);
	int index(const std::string & id) const;
};

// Each sample's two haplotypes add up to its non-missing genotype in the example VCF.
void expectGenotypesKept(const Haplotypes & out);

typedef std::map < std::string, std::set < std::pair < int, int > > > site_pairs;

// Switch error against the truth; `pairs` counts the pairs of heterozygotes, or those in `only`.
double switchError(const Haplotypes & out, const Haplotypes & truth, const std::vector < std::string > & ids, long & pairs, const site_pairs * only = nullptr);

}

#endif
