#ifndef _GENHAP_SET_H
#define _GENHAP_SET_H

#include "containers/genhap_set/haplotype_pbwt.h"
#include "objects/chaplotype.h"

#include <string>
#include <vector>

class genotype_graph;
class haplotype_reader;
class reference_reader;
class snp_set;

// The shared state of a phasing run: one genotype graph per sampling unit and all
// haplotypes, those that the graphs sample first and those of the reference panel after
// them. Masks hold one bit per haplotype, in the order of vecH.
class genhap_set {
public:
	// Conditioning states that each selection adds per window, in the order they run,
	// whether unrelated units take both haplotypes of another only by the IBD-aware rule (in
	// the Hamming and the transform selections), the fewest states a
	// window may have, and whether the `hamming` states are the longest local matches of the
	// transform `pbwt` instead.
	struct state_counts {
		int hamming;
		int pmatch;
		int random;
		int cov;
		bool ibd;
		int minimum;
		bool pbwt;
	};

	snp_set * sites;
	std::vector < std::string > hap_names;
	// Owned: deleted with the set.
	std::vector < genotype_graph * > vecG;
	std::vector < chaplotype > vecH;
	// Per graph, its haplotypes in track order; per graph haplotype, its graph.
	std::vector < std::vector < int > > ind2hap;
	std::vector < int > hap2ind;
	// Per graph haplotype: the other haplotype of its unit if the unit is unrelated (type 2),
	// else -1; flat, so that the selection of states need not reach into the graphs.
	std::vector < int > partner;
	// Per graph, the graphs of its family, itself included, ascending.
	std::vector < std::vector < int > > relatives;
	std::vector < bool > founder_mask;
	int n_founder;
	std::vector < bool > reference_mask;
	int n_reference;
	// Built from vecH by the caller before a selection that uses it.
	haplotype_pbwt pbwt;
	// With --selection auto, the transform selects with a panel or from this many haplotypes
	// to copy from.
	static constexpr int pbwt_auto_haplotypes = 1000;

	genhap_set();
	~genhap_set();
	genhap_set(const genhap_set &) = delete;
	genhap_set & operator=(const genhap_set &) = delete;

	void initialise(std::vector < genotype_graph * > & graphs, snp_set * sites);
	void initialise(reference_reader & R, bool chrX);
	void initialise(haplotype_reader & H);
	void initialise();
	void summarise();

	// Conditioning state selection for individual ind over the sites left .. right. Masks
	// clear bits of haplotypes that may not be chosen; selections set bits in `selected`,
	// never choosing a haplotype twice.
	void subsetHaplotypes_thread(std::vector < bool > & mask, std::vector < int > & batch);
	void subsetHaplotypes_relatives(std::vector < bool > & mask, int ind);
	void subsetHaplotypes_hamming_ALL(std::vector < bool > & input, int ind, int states, int left, int right, std::vector < bool > & selected);
	void subsetHaplotypes_hamming_IBD(std::vector < bool > & input, int ind, int states, int left, int right, std::vector < bool > & selected);
	void subsetHaplotypes_pfmatch_ALL(std::vector < bool > & input, int ind, int states, int left, int right, std::vector < bool > & selected);
	void subsetHaplotypes_pfmatchcov_ALL(std::vector < bool > & input, int ind, int states, int left, int right, std::vector < bool > & selected);
	// `joined`, when given, receives the haplotypes that joined; some may have left again.
	void subsetHaplotypes_pbwt(std::vector < bool > & input, int ind, int states, int left, int right, std::vector < bool > & selected, bool ibd, std::vector < int > * joined = nullptr);
	void subsetHaplotypes_random(std::vector < bool > & input, int states, std::vector < bool > & selected);
	// Conditioning haplotypes of unit ind for each window left[k] .. right[k], ascending:
	// chosen among those open in `open`, never from the unit's own family.
	void conditioningSets(const std::vector < bool > & open, int ind, const state_counts & n, const std::vector < int > & left, const std::vector < int > & right, std::vector < std::vector < int > > & sets);

	// The largest batch size T, at most the number of graphs, such that any batch of T
	// graphs leaves every graph of it at least `need` haplotypes open in `mask` outside the
	// batch and its family. 0 when some graph lacks them even alone: `limiting` is then
	// that graph, otherwise one that sets the bound, or -1 when none does.
	int maxBatchSize(const std::vector < bool > & mask, int need, int & limiting) const;

private:
	void linkRelatives();
	void maskFounders();
	void pushHaplotype(const std::vector < bool > & h, const std::string & name);
	void findSamples(haplotype_reader & H, std::vector < std::vector < int > > & entries);
};

// Decides which of the two haplotypes a0, a1 of another unrelated individual to keep when
// they resemble different haplotypes b0, b1 of the target: 0 the first, 1 the second,
// 2 both, -1 neither, at random after the share of sites where each alone matches.
int non_overlapping_hamming_distance(const chaplotype & a0, const chaplotype & a1, const chaplotype & b0, const chaplotype & b1, int left, int right);

#endif
