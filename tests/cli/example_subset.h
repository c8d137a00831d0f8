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

// 23 samples with two duos (IND0003-IND0004, IND0010-IND0011) and one trio
// (IND0056, IND0057 -> IND0058) over the first 100 kb of the example. With the pedigree
// (PED, GEN, BED) these make 16 unrelated graphs, 2 duo graphs and 1 trio graph; the VCF
// has no pedigree and gives 23 unrelated graphs.
extern const int LAST_BP;

// Writes the sample list "subset" into the folder.
void writeSubset(const testutils::TempDir & d);
// Options that restrict a run to the subset, with short iterations.
std::string subsetArgs();
// Runs sorvane on the subset with `args`, writing HAPS/SAMPLE and log under `stem`; must succeed.
testutils::RunResult phaseSubset(const testutils::TempDir & d, const std::string & args, const std::string & stem);
// Unphased genotypes of the example VCF: sample -> position -> alternative allele count,
// -1 when missing.
std::map < std::string, std::map < int, int > > vcfGenotypes();
// Checks the shape of a HAPS/SAMPLE pair of the subset and that each sample's two
// haplotypes add up to its genotype wherever that is not missing. Returns the number of sites.
int checkPhased(const testutils::TempDir & d, const std::string & stem);

// Faults of the phase confidence of a phased VCF, then the number of values: a value in
// [0.5, 1] is due at each heterozygous genotype but the first of its sample, "." elsewhere.
std::pair < int, int > confidenceFaults(const testutils::TempDir & d, const std::string & vcf);

// The blank-separated fields of the non-empty lines of a file.
std::vector < std::vector < std::string > > table(const std::string & file);

// A HAPS/SAMPLE pair: sample ids in order, and per site position its two alleles and the
// 0/1 alleles of all haplotypes, two a sample.
struct Haplotypes {
	std::vector < std::string > ids;
	std::map < int, std::pair < std::string, std::string > > sites;
	std::map < int, std::vector < int > > alleles;

	explicit Haplotypes(const std::string & stem);
	int index(const std::string & id) const;
};

// Positions of two sites, per sample.
typedef std::map < std::string, std::set < std::pair < int, int > > > site_pairs;

// Switch error of the given samples against the simulated truth, at the written sites
// heterozygous in the truth and in the estimate (a missing genotype filled in as a
// homozygote has no phase); `pairs` counts the consecutive pairs of such sites, or only
// those of them listed for the sample in `only`.
double switchError(const Haplotypes & out, const Haplotypes & truth, const std::vector < std::string > & ids, long & pairs, const site_pairs * only = nullptr);

}

#endif
