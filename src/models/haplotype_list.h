#ifndef _HAPLOTYPE_LIST_H
#define _HAPLOTYPE_LIST_H

#include "models/hmm_parameters.h"
#include "objects/chaplotype.h"

#include <vector>

// The plain copying model: one hidden state per conditioning haplotype, one column per
// site, scoring one given haplotype. It is the reference form of the window and graph
// models. Columns are normalised at every site; sums[l] keeps the column total before that,
// so the likelihood of the haplotype is the product of the sums. With a site mask, sites
// outside it carry no emission: the chain runs through them, which is the same as joining
// the intervals on both sides into one.
class haplotype_list {
public:
	std::vector < chaplotype > & haps;
	std::vector < int > idx;

	haplotype_list(std::vector < chaplotype > & haps, std::vector < bool > & cond_mask);

	void forward(const chaplotype & h, hmm_parameters & M, std::vector < std::vector < double > > & alpha, std::vector < double > & sums);
	void backward(const chaplotype & h, hmm_parameters & M, std::vector < std::vector < double > > & beta, std::vector < double > & sums);
	void forward(const chaplotype & h, hmm_parameters & M, const std::vector < bool > & mask, std::vector < std::vector < double > > & alpha, std::vector < double > & sums);
	void backward(const chaplotype & h, hmm_parameters & M, const std::vector < bool > & mask, std::vector < std::vector < double > > & beta, std::vector < double > & sums);

	// Adds to result[l], at each site (of the mask), the posterior chance that h does not
	// carry the allele of the haplotype it copies from.
	void expectation(const chaplotype & h, hmm_parameters & M, std::vector < double > & result);
	void expectation(const chaplotype & h, hmm_parameters & M, const std::vector < bool > & mask, std::vector < double > & result);

private:
	void pass(const chaplotype & h, hmm_parameters & M, const std::vector < bool > * mask, std::vector < std::vector < double > > & out, std::vector < double > & sums, bool forwards);
	void posteriors(const chaplotype & h, hmm_parameters & M, const std::vector < bool > * mask, std::vector < double > & result);
};

#endif
