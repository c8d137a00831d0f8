#ifndef _TRIOHMM_H
#define _TRIOHMM_H

#include "duohmm/geneticMap.h"
#include "objects/chaplotype.h"

#include <vector>

// Eight-state HMM over the sites of a child and both its parents. State 4d + 2m + c: the
// child received father's haplotype d and mother's haplotype m; with c = 0 child haplotype 0
// is the paternal one, with c = 1 haplotype 1. A genotyping error and the switch error rates
// of father, mother and child are fitted to each trio by EM; the father's meioses follow the
// male map, the mother's the female one. Tables are site-major as in DuoHMM: [l * 8 + j],
// and [l * 64 + i * 8 + j] for xi.
class TrioHMM {
public:
	int K;
	int NSTATE;
	int NITERATION;
	float genotype_error;
	float switch_child;
	float switch_mum;
	float switch_dad;
	const chaplotype * dadptr;
	const chaplotype * mumptr;
	const chaplotype * childptr;
	float male_rate;
	float female_rate;
	float male_length;
	float female_length;
	std::vector < float > recomb_male;
	std::vector < float > recomb_female;
	std::vector < float > norecomb_male;
	std::vector < float > norecomb_female;
	std::vector < float > cM;
	std::vector < float > recombination_mum;
	std::vector < float > recombination_dad;
	std::vector < float > alpha;
	std::vector < float > beta;
	std::vector < float > scale;
	std::vector < float > gamma;
	std::vector < float > xi;
	std::vector < float > error_probability;
	std::vector < unsigned char > backtrack;
	std::vector < unsigned char > stateseq;

	TrioHMM(const std::vector < int > & positions, const geneticMap & map);

	int setHaps(const chaplotype * dad, const chaplotype * mum, const chaplotype * child);
	void setIterations(int n);
	void forward();
	void backward();
	void estep();
	void mstep();
	int EM(int n);
	int viterbi();
	int estimateRecombination();
	void estimateRecombinationDad();
	void estimateRecombinationMum();

	void emissions(int l, float * E) const;
	// T[i * 8 + j] over the interval that starts at site l.
	void transitions(int l, float * T) const;

private:
	// Whether both child alleles agree with what each state says at site l; one mismatch
	// and two count alike.
	void matches(int l, bool * match) const;
	// Crossovers of one parent (bit 4 for the father, 2 for the mother) over its
	// heterozygous sites, into out.
	void estimateRecombination(const chaplotype * parent, int bit, float rate, float s, std::vector < float > & out);
};

#endif
