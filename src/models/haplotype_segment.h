#ifndef _HAPLOTYPE_SEGMENT_H
#define _HAPLOTYPE_SEGMENT_H

#include "containers/genhap_set/genhap_set.h"
#include "models/hmm_parameters.h"
#include "models/segment_links.h"
#include "objects/chaplotype.h"
#include "objects/genotype_graph.h"

#include <string>
#include <vector>

// Copying HMM of one unit's graph against the conditioning haplotypes of each window. Per
// window, one lattice of K cells per candidate fragment of the current graph segment runs
// forward and backward over the sites; the lattices are marginal over fragments and are
// joined only at segment boundaries, into one matrix (left fragment, right fragment) per
// group. A cell (h, k) sits at h * K + k in the two alternating buffers.
class haplotype_segment {
public:
	genhap_set & GH;
	std::vector < chaplotype > & H;
	// Per window: indices into H of the conditioning haplotypes (set by `windows`).
	const std::vector < std::vector < int > > * cond;
	// Per window: first and last site, first and last graph segment, all inclusive.
	std::vector < int > start;
	std::vector < int > stop;
	std::vector < int > segStart;
	std::vector < int > segStop;
	std::vector < double > prob0;
	std::vector < double > prob1;
	std::vector < double > sum0;
	std::vector < double > sum1;
	// Per-segment items of the current window, flat, each at its offset: forward cells and
	// row sums at the last site of every segment; backward cells at the first site of every
	// segment but the first, item i belonging to segment segStart + 1 + i; backward row sums
	// at site 0 of the chromosome.
	std::vector < double > forwP;
	std::vector < double > forwS;
	std::vector < int > forwI;
	std::vector < double > backP;
	std::vector < int > backI;
	std::vector < double > backS;
	// The alleles of a conditioning haplotype where its sample is missing count as known:
	// in genotype calling they are draws weighed by that sample's own likelihoods. Otherwise
	// a site missing in both the unit and the conditioning sample carries no information.
	bool drawn_known;

	// One model serves many units in turn (one per thread in phasing), so that its buffers
	// keep their memory from one unit to the next: `windows` sets the unit's windows and
	// conditioning haplotypes before each expectation.
	haplotype_segment(genhap_set & GH, std::vector < chaplotype > & H, bool drawn_known);
	void windows(const std::vector < std::vector < int > > & cond, const std::vector < int > & segStart, const std::vector < int > & segStop, const std::vector < int > & start, const std::vector < int > & stop);

	// Plain form, haploid and unrelated graphs: prob[g][a][b] for fragment a of segment
	// g - 1 and b of segment g, each matrix normalised.
	void expectation(genotype_graph * G, hmm_parameters & M, std::vector < std::vector < std::vector < double > > > & prob);
	// Masked form, duos and trios, for one track: only fragments and pairs of the mask count.
	void expectation(genotype_graph * G, hmm_parameters & M, std::vector < std::vector < std::vector < bool > > > & mask, std::vector < std::vector < std::vector < double > > > & prob);

private:
	int K;
	segment_links links;
	// Per site: the conditioning alleles and missing flags, and one emission row per allele
	// of the unit (row a at a * K).
	std::vector < unsigned char > alleles;
	std::vector < unsigned char > missing;
	std::vector < double > emit;
	// Sum of the source rows at a segment boundary.
	std::vector < double > mix;
	// Per conditioning haplotype of the window: its bytes, and the Miss flags of its sample
	// (null for a panel haplotype).
	std::vector < const unsigned char * > condBits;
	std::vector < const std::vector < bool > * > condMiss;
	// Cached byte of each conditioning haplotype, for the 8 sites it holds.
	std::vector < unsigned char > condByte;
	int cachedByte;

	void run(genotype_graph * G, hmm_parameters & M, std::vector < std::vector < std::vector < double > > > & prob, const std::string & form);
	void prepareWindow(int w);
	int windowRows(genotype_graph * G, int w) const;

	// One window each, over the buffers that prepareWindow cleared.
	void forward(genotype_graph * G, hmm_parameters & M, int w);
	void backward(genotype_graph * G, hmm_parameters & M, int w);

	void buffers(int rel, double *& cur, double *& cursum, const double *& old, const double *& oldsum);
	void loadSite(genotype_graph * G, int s, int i, int l, unsigned int act, double match, double mismatch, double none, int * fa);
	void mixSources(unsigned int src, const double * old, const double * oldsum, double nrec, double recN);
	void rescale(double * cur, double * cursum, unsigned int act);
	void appendItem(std::vector < double > & P, std::vector < int > & I, std::vector < double > * S, const double * cur, const double * cursum, int C, unsigned int act);
	void writeEnds(genotype_graph * G, std::vector < std::vector < std::vector < double > > > & prob, bool last);
	void interior(genotype_graph * G, hmm_parameters & M, int w, std::vector < std::vector < std::vector < double > > > & prob, const std::string & form);
};

#endif
