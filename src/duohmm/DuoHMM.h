#ifndef _DUOHMM_H
#define _DUOHMM_H

#include "duohmm/geneticMap.h"
#include "objects/chaplotype.h"

#include <string>
#include <vector>

// Four-state HMM over the sites of one parent-child pair. State 2p + c: child haplotype c
// carries parental haplotype p. Changes of p come from recombination in the parent's meiosis
// (sex-specific map) or switch errors of the parent's phase, changes of c from switch errors
// of the child's phase, and mismatches from genotyping errors; the three error rates are
// fitted to each pair by EM. Tables are site-major: entry [l * 4 + j] of alpha, beta, gamma
// and backtrack, entry [l * 16 + i * 4 + j] of xi for the step from site l to l + 1.
class DuoHMM {
public:
	int K;
	int NSTATE;
	// EM rounds of estimateRecombination.
	int NITERATION;
	float genotype_error;
	float switch_parent;
	float switch_child;
	const chaplotype * parental_haplotypes;
	const chaplotype * child_haplotypes;
	float male_rate;
	float female_rate;
	// Map length in Morgans scaled by each rate.
	float male_length;
	float female_length;
	float length;
	float rate;
	std::vector < float > recomb_male;
	std::vector < float > recomb_female;
	std::vector < float > norecomb_male;
	std::vector < float > norecomb_female;
	std::vector < float > cM;
	std::vector < float > recombination_probability;
	std::vector < float > error_probability;
	const float * recomb;
	std::vector < float > alpha;
	std::vector < float > beta;
	std::vector < float > scale;
	std::vector < float > gamma;
	std::vector < float > xi;
	std::vector < unsigned char > backtrack;
	std::vector < unsigned char > stateseq;

	DuoHMM(const std::vector < int > & positions, const geneticMap & map);

	// sex "1" for a father, "2" for a mother. Resets the fitted parameters.
	int setHaps(const chaplotype * parental_haplotypes, const chaplotype * child_haplotypes, const std::string & sex);
	void setIterations(int n);
	void forward();
	void backward();
	void estep();
	void mstep();
	int EM(int n);
	int viterbi();
	// Probability of a crossover in the parent's meiosis between the two heterozygous
	// parental sites that enclose each site.
	int estimateRecombination();

	// Emission of each state at site l, and the transitions T[i * 4 + j] over an interval
	// with recombination fraction r.
	void emissions(int l, float * E) const;
	void transitions(float r, float * T) const;

private:
	// Whether each state's parental and child alleles agree at site l.
	void matches(int l, bool * match) const;
};

#endif
