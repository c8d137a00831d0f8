#ifndef _DUOHMM_H
#define _DUOHMM_H

#include "duohmm/pedigree_hmm.h"

#include <string>
#include <vector>

class chaplotype;
class geneticMap;

// Four-state HMM over the sites of one parent-child pair. State 2p + c: child haplotype c
// carries parental haplotype p. Changes of p come from recombination in the parent's meiosis
// (sex-specific map) or switch errors of the parent's phase, changes of c from switch errors
// of the child's phase, and mismatches from genotyping errors; the three error rates are
// fitted to each pair by EM.
class DuoHMM : public pedigree_hmm < 4 > {
public:
	float switch_parent;
	float switch_child;
	const chaplotype * parental_haplotypes;
	const chaplotype * child_haplotypes;
	// Map length and rate of the parent's sex.
	float length;
	float rate;
	std::vector < float > recombination_probability;
	const float * recomb;

	DuoHMM(const std::vector < int > & positions, const geneticMap & map);

	// sex "1" for a father, "2" for a mother. Resets the fitted parameters.
	int setHaps(const chaplotype * parental_haplotypes, const chaplotype * child_haplotypes, const std::string & sex);
	// Probability of a crossover in the parent's meiosis between the two heterozygous
	// parental sites that enclose each site.
	int estimateRecombination();

protected:
	void matches(int l, bool * match) const override;
	void transitions(int l, float * T) const override;
	void checkInterval(int l) const override;
	void fitRates(const double * changes, double errors) override;
	std::vector < float > rates() const override;
};

#endif
