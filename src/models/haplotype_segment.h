#ifndef _HAPLOTYPE_SEGMENT_H
#define _HAPLOTYPE_SEGMENT_H

#include "containers/genhap_set/genhap_set.h"
#include "models/hmm_parameters.h"
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
	// Per window: indices into H of the conditioning haplotypes.
	std::vector < std::vector < int > > & cond;
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

	haplotype_segment(genhap_set & GH, std::vector < chaplotype > & H, std::vector < std::vector < int > > & cond, std::vector < int > & segStart, std::vector < int > & segStop, std::vector < int > & start, std::vector < int > & stop);

	// Plain form, haploid and unrelated graphs: prob[g][a][b] for fragment a of segment
	// g - 1 and b of segment g, each matrix normalised.
	void expectation(genotype_graph * G, hmm_parameters & M, std::vector < std::vector < std::vector < double > > > & prob);
	// Masked form, duos and trios, for one track: only fragments and pairs of the mask count.
	void expectation(genotype_graph * G, hmm_parameters & M, std::vector < std::vector < std::vector < bool > > > & mask, std::vector < std::vector < std::vector < double > > > & prob);

private:
	int K;
	// Per group g, 8 bytes: byte 8g + p has bit h set if fragment p of segment g - 1 may
	// go to fragment h of segment g. All pairs in the plain form, the mask in the other.
	std::vector < unsigned char > links;
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

	void setLinks(genotype_graph * G);
	void setLinks(genotype_graph * G, std::vector < std::vector < std::vector < bool > > > & mask);
	void run(genotype_graph * G, hmm_parameters & M, std::vector < std::vector < std::vector < double > > > & prob, const std::string & form);
	void prepareWindow(int w);

	// One window each, over the buffers that prepareWindow cleared.
	void forward(genotype_graph * G, hmm_parameters & M, int w);
	void backward(genotype_graph * G, hmm_parameters & M, int w);

	unsigned int active(int s) const;
	unsigned int forwardSources(int s, int h) const;
	unsigned int backwardSources(int s, int h) const;
	void loadSite(genotype_graph * G, int s, int i, int l, unsigned int act, double match, double mismatch, double none, int * fa);
	void mixSources(unsigned int src, const double * old, const double * oldsum, double nrec, double recN);
	void rescale(double * cur, double * cursum, unsigned int act);
	void appendItem(std::vector < double > & P, std::vector < int > & I, std::vector < double > * S, const double * cur, const double * cursum, int C, unsigned int act);
	void writeEnds(genotype_graph * G, std::vector < std::vector < std::vector < double > > > & prob, bool last);
	void interior(genotype_graph * G, hmm_parameters & M, int w, std::vector < std::vector < std::vector < double > > > & prob, const std::string & form);
};

// One row of a lattice: c[k] = (o[k] * a + b) * e[k]; returns the sum of the row. Four
// partial sums keep the loop free of a serial dependency so that it vectorises.
inline double updateRow(const double * __restrict__ o, double a, double b, const double * __restrict__ e, double * __restrict__ c, int K) {
	double s0 = 0.0, s1 = 0.0, s2 = 0.0, s3 = 0.0;
	int k = 0;
	for (; k + 4 <= K ; k += 4) {
		const double v0 = (o[k] * a + b) * e[k];
		const double v1 = (o[k + 1] * a + b) * e[k + 1];
		const double v2 = (o[k + 2] * a + b) * e[k + 2];
		const double v3 = (o[k + 3] * a + b) * e[k + 3];
		c[k] = v0;
		c[k + 1] = v1;
		c[k + 2] = v2;
		c[k + 3] = v3;
		s0 += v0;
		s1 += v1;
		s2 += v2;
		s3 += v3;
	}
	for (; k < K ; k ++) {
		const double v = (o[k] * a + b) * e[k];
		c[k] = v;
		s0 += v;
	}
	return (s0 + s1) + (s2 + s3);
}

#endif
