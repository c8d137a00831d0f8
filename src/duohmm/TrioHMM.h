#ifndef _TRIOHMM_H
#define _TRIOHMM_H

#include "duohmm/pedigree_hmm.h"

#include <vector>

class chaplotype;
class geneticMap;

// Eight-state HMM over the sites of a child and both its parents. State 4d + 2m + c: the
// child received father's haplotype d and mother's haplotype m; with c = 0 child haplotype 0
// is the paternal one, with c = 1 haplotype 1. A genotyping error and the switch error rates
// of father, mother and child are fitted to each trio by EM; the father's meioses follow the
// male map, the mother's the female one.
class TrioHMM : public pedigree_hmm < 8 > {
public:
	float switch_child;
	float switch_mum;
	float switch_dad;
	const chaplotype * dadptr;
	const chaplotype * mumptr;
	const chaplotype * childptr;
	std::vector < float > recombination_mum;
	std::vector < float > recombination_dad;

	TrioHMM(const std::vector < int > & positions, const geneticMap & map);

	int setHaps(const chaplotype * dad, const chaplotype * mum, const chaplotype * child);
	int estimateRecombination();

protected:
	// Whether both child alleles agree with what each state says at site l; one mismatch
	// and two count alike.
	void matches(int l, bool * match) const override;
	void transitions(int l, float * T) const override;
	void fitRates(const double * changes, double errors) override;
	std::vector < float > rates() const override;

private:
	// Crossovers of one parent (bit 4 for the father, 2 for the mother) over its
	// heterozygous sites, into out.
	void estimateRecombination(const chaplotype * parent, int bit, float rate, float s, std::vector < float > & out);
};

#endif
