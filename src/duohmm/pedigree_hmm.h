#ifndef _PEDIGREE_HMM_H
#define _PEDIGREE_HMM_H

#include <vector>

class geneticMap;

// What the family models do not share in their fitting.
struct pedigree_hmm_variant {
	// Bits of the state index whose change between two sites is counted by the M step, one
	// count each, in the order handed to fitRates.
	std::vector < int > change_bits;
	// The forward pass scales its first site like the others, or leaves it at scale 1.
	bool scale_first;
	// Emission factor of xi: the source state's (true) or the target state's.
	bool xi_source_emission;
	// Subtracted from the log emission of every state at the first site by viterbi.
	float viterbi_offset;
};

// The skeleton of the hidden Markov models of a family (a parent-child pair, a trio) over N
// states: EM of the error rates through forward-backward, and the Viterbi path. A model
// says which states agree with the haplotypes at a site, what the transitions over an
// interval are, and how the expected changes become its rates. Tables are site-major:
// entry [l * N + j] of alpha, beta, gamma and backtrack, entry [l * N * N + i * N + j] of xi
// for the step from site l to l + 1.
template < int N > class pedigree_hmm {
public:
	int K;
	// EM rounds of estimateRecombination.
	int NITERATION;
	float genotype_error;
	float male_rate;
	float female_rate;
	// Map length in Morgans scaled by each rate.
	float male_length;
	float female_length;
	std::vector < float > recomb_male;
	std::vector < float > recomb_female;
	std::vector < float > cM;
	std::vector < float > error_probability;
	std::vector < float > alpha;
	std::vector < float > beta;
	std::vector < float > scale;
	std::vector < float > gamma;
	std::vector < float > xi;
	std::vector < unsigned char > backtrack;
	std::vector < unsigned char > stateseq;

	virtual ~pedigree_hmm() = default;

	void forward();
	void backward();
	void estep();
	void mstep();
	int EM(int n);
	int viterbi();
	void emissions(int l, float * E) const;

protected:
	pedigree_hmm(const std::vector < int > & positions, const geneticMap & map, const pedigree_hmm_variant & variant);

	// Whether the alleles each state expects agree with the haplotypes at site l.
	virtual void matches(int l, bool * match) const = 0;
	// T[i * N + j] over the interval from site l to l + 1.
	virtual void transitions(int l, float * T) const = 0;
	// Stops the E step on an interval the model cannot take.
	virtual void checkInterval(int l) const;
	// New rates from the expected changes (one per change bit) and the summed error probability.
	virtual void fitRates(const double * changes, double errors) = 0;
	// The fitted rates, compared between EM rounds.
	virtual std::vector < float > rates() const = 0;

private:
	pedigree_hmm_variant variant;
};

#endif
