#ifndef _PEDHAP_H
#define _PEDHAP_H

#include "duohmm/Haplotypes.h"
#include "duohmm/pedigree.h"

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class DuoHMM;
class TrioHMM;
class filter_writer;
class genhap_set;
class geneticMap;

// Makes haplotypes phased sample by sample consistent with the pedigree: after correct,
// haplotype 0 of every sample with a known father is the paternal one and haplotype 1 the
// maternal one, alleles at missing genotypes are filled from relatives or by imputation, and
// each parent is re-oriented to minimise the crossovers seen in its children. Reports on the
// standard streams.
class pedhap {
public:
	int K;
	// EM rounds per model fit.
	int NITERATION;
	// Per (parent, child): the DuoHMM state 2p + c of each site.
	std::map < std::pair < std::string, std::string >, std::vector < unsigned char > > stateseqs;
	std::unique_ptr < geneticMap > gm;
	std::unique_ptr < DuoHMM > duo;
	std::unique_ptr < TrioHMM > trio;
	std::unique_ptr < Haplotypes > haps;
	std::unique_ptr < pedigree > ped;

	// Haplotypes from stem + ".haps"/".sample", pedigree from a FAM file.
	pedhap(std::string hap_file_stem, std::string sample_file, std::string map_file);
	// Haplotypes and pedigree from stem + ".haps"/".sample".
	pedhap(std::string hap_file_stem, std::string map_file, int niteration);
	// The most likely haplotypes of a phasing run and the pedigree of its sample data.
	pedhap(filter_writer & filter, genhap_set & set, std::string sample_header1, std::string sample_header2, int niteration);
	~pedhap();

	int correct();
	int phase(const std::string & child);
	int minRecombinant(const std::string & parent);
	// Sites where a sample's genotype is probably wrong, given its parents.
	int genotypingError(std::string file);
	// Probability of a crossover around each site, for each meiosis.
	int recombinationMap(std::string file);

private:
	void makeModels();
	void phaseTrio(const std::string & dad, const std::string & mum, const std::string & child);
	void phaseDuo(const std::string & parent, const std::string & sex, const std::string & child);
	// The trio's Viterbi path as the father's and the mother's DuoHMM paths.
	void storeTrioPaths(const std::string & dad, const std::string & mum, const std::string & child);
	// The samples of each family, parents first.
	std::vector < std::vector < std::string > > orderedFamilies();
	bool hasParent(const std::string & id) const;
};

// Exchanges the alleles of a haplotype pair over the sites from .. to - 1.
int unswitch(chaplotype * pair, int from, int to);

#endif
