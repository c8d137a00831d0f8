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
// group.
//
// The lattices are single precision, each row held near 1: its sum at each site divides the
// coefficients of the next site's update and moves into a double multiplier of the row, so
// that no product of emissions can run out of the float range and the fragments keep their
// relative weights in double. Rows have a stride of Kp cells, K rounded up to 16, whose padding has no
// emission and so stays 0. A site where the unit is not missing, its fragments in use carry
// one allele and all conditioning haplotypes carry one allele multiplies every cell by the
// same emission, which the normalisation cancels: a run of such sites only multiplies a
// factor common to all rows, composed into a pending affine map of each row (row * A + B)
// at the next site that needs the cells.
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
	// Per-segment items of the current window, flat, each at its offset: forward cells, row
	// sums and multipliers at the last site of every segment; backward cells and multipliers
	// at the first site of every segment but the first, item i belonging to segment
	// segStart + 1 + i; backward row weights at site 0 of the chromosome.
	std::vector < float > forwP;
	std::vector < double > forwS;
	std::vector < double > forwM;
	std::vector < int > forwI;
	std::vector < float > backP;
	std::vector < double > backM;
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
	// Conditioning haplotypes of the window, and the row stride.
	int K, Kp;
	segment_links links;
	// The two alternating lattices of 8 rows; `cur` is the one holding the rows.
	std::vector < float > lattice[2];
	int cur;
	// Per fragment: the pending map of its row (cells * A + B), the row's sum after it, and
	// the row's multiplier: the weight of the row is its multiplier times its sum.
	double rowA[segment_links::max_fragments], rowB[segment_links::max_fragments], rowS[segment_links::max_fragments], rowC[segment_links::max_fragments];
	// Per fragment: the row whose cells it shares. Fragments with the same sources and the
	// same alleles so far in the pass have the same cells, bit for bit, so only the first of
	// them (rep[h] == h) holds a row; the others read it. Their scalars are kept each.
	int rep[segment_links::max_fragments];
	// The current site: its bit row, the two emissions, and whether the emissions are rows
	// (the unit is missing there): then the missing flags of the conditioning haplotypes, and
	// one emission row per allele of the unit (row a at a * Kp).
	const unsigned char * siteRow;
	float siteMatch, siteMismatch;
	bool siteRows;
	std::vector < unsigned char > missing;
	std::vector < float > emit;
	// Sum of the source rows at a segment boundary; in the interior products, a row of zeros.
	std::vector < float > mix;
	// Per conditioning haplotype: its bytes, and the Miss flags of its sample
	// (null for a panel haplotype).
	std::vector < const unsigned char * > condBits;
	std::vector < const std::vector < bool > * > condMiss;
	// Per site of the window, from the first of the byte holding start_l: one bit row of
	// rowBytes = Kp / 8 bytes, bit k set if conditioning haplotype k carries allele 1, and
	// whether all conditioning haplotypes carry one allele (condSame).
	int rowBytes;
	std::vector < unsigned char > siteBits;
	std::vector < unsigned char > condSame;
	// Product of nrec / (nrec + K * recN) over the uniform sites passed since the last update.
	double runP;
	// Per site of the window from its first, start_l, as the forward pass read it: bit h
	// set if fragment h carries allele 1, and whether the site is uniform.
	int start_l;
	std::vector < unsigned char > siteOnes;
	std::vector < unsigned char > siteUniform;

	void run(genotype_graph * G, hmm_parameters & M, std::vector < std::vector < std::vector < double > > > & prob, const std::string & form);
	void prepareWindow(int w);
	int windowRows(genotype_graph * G, int w) const;

	// One window each, over the lattices that prepareWindow cleared.
	void forward(genotype_graph * G, hmm_parameters & M, int w);
	void backward(genotype_graph * G, hmm_parameters & M, int w);

	void readSegment(genotype_graph * G, int s, int l0, unsigned int act);
	void siteAlleles(int l, unsigned int act, int * fa) const;
	void emissions(genotype_graph * G, int l, unsigned int act, const int * fa, double match, double mismatch, float none);
	double updateCells(const float * o, float a, float b, int allele, float * c) const;
	void startRows(unsigned int act, const int * fa);
	void stepRows(unsigned int act, const int * fa, double nrec, double recN);
	void skipSite(double nrec, double recN);
	void settleRun(unsigned int act);
	void mixRows(unsigned int act, const int * fa, double nrec, double recN, bool backward, int s);
	void closeSite(unsigned int act);
	void appendItem(std::vector < float > & P, std::vector < int > & I, std::vector < double > & mults, std::vector < double > * S, int C, unsigned int act);
	void writeEnds(genotype_graph * G, std::vector < std::vector < std::vector < double > > > & prob, bool last);
	void interior(genotype_graph * G, hmm_parameters & M, int w, std::vector < std::vector < std::vector < double > > > & prob, const std::string & form);
};

#endif
