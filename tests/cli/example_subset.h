#ifndef _EXAMPLE_SUBSET_H
#define _EXAMPLE_SUBSET_H

#include "test_utils.h"

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace exsubset {

const std::string E = SORVANE_EXAMPLE_DATA;
// The example's reference panel as options.
const std::string PANEL = " --input-ref " + E + "/reference.haplotypes " + E + "/reference.legend " + E + "/reference.samples ";

// The subset: 23 samples with two duos and one trio (16 unrelated, 2 duo and 1 trio graphs
// with a pedigree, 23 unrelated ones from the VCF) over the first 100 kb, up to LAST_BP.
extern const int LAST_BP;

// Writes the sample list "subset" into the folder.
void writeSubset(const testutils::TempDir & d);
// Options that restrict a run to the subset, with short iterations.
std::string subsetArgs();
// Runs sorvane on the subset with `args`, writing HAPS/SAMPLE and log under `stem`; must succeed.
testutils::RunResult phaseSubset(const testutils::TempDir & d, const std::string & args, const std::string & stem);
// Unphased genotypes of the example VCF: sample -> position -> ALT count, -1 when missing.
std::map < std::string, std::map < int, int > > vcfGenotypes();
// Checks the shape of a HAPS/SAMPLE pair of the subset and that its genotypes are kept.
// Returns the number of sites.
int checkPhased(const testutils::TempDir & d, const std::string & stem);

// Faults of the phase confidence of a phased VCF (a value in [0.5, 1] at each heterozygous
// genotype but the first of its sample, "." elsewhere), then the number of values.
std::pair < int, int > confidenceFaults(const testutils::TempDir & d, const std::string & vcf);

// The blank-separated fields of the non-empty lines of a file.
std::vector < std::vector < std::string > > table(const std::string & file);

// A HAPS/SAMPLE pair: sample ids, and per position the two alleles and those of all haplotypes.
struct Haplotypes {
	std::vector < std::string > ids;
	std::map < int, std::pair < std::string, std::string > > sites;
	std::map < int, std::vector < int > > alleles;

	explicit Haplotypes(const std::string & stem);
	int index(const std::string & id) const;
};

// Each sample's two haplotypes add up to its genotype in the example VCF wherever that is
// not missing.
void expectGenotypesKept(const Haplotypes & out);

// Positions of two sites, per sample.
typedef std::map < std::string, std::set < std::pair < int, int > > > site_pairs;

// Switch error of the given samples against the simulated truth, at the written sites
// heterozygous in the truth and in the estimate (a missing genotype filled in as a
// homozygote has no phase); `pairs` counts the consecutive pairs of such sites, or only
// those of them listed for the sample in `only`.
double switchError(const Haplotypes & out, const Haplotypes & truth, const std::vector < std::string > & ids, long & pairs, const site_pairs * only = nullptr);

}

#endif
