#ifndef _HMM_UTILS_H
#define _HMM_UTILS_H

#include "objects/chaplotype.h"

#include <vector>

// Helpers shared by the pedigree models DuoHMM and TrioHMM.

// Index of the first maximum: a later entry wins only when strictly greater; 0 when empty.
int argmax(const std::vector < float > & v);
// Allele counts 0, 1 or 2 of a child and its parents.
bool is_mendel_consistent(int child, int father, int mother);

// Recombination fraction of the interval that starts at each site of a map (in cM) for a
// sex-specific rate; the last entry stays 0. An interval of no length
// still gets a fraction of about 1e-13 times the rate, never exactly 0.
void recombinationFractions(const std::vector < float > & cM, float rate, std::vector < float > & recomb);

// Chance that a haplotype index stays / changes over an interval with recombination
// fraction r when switch errors occur at rate s.
inline float stayProbability(float r, float s) {
	return (1 - r) * (1 - s) + s * r;
}
inline float changeProbability(float r, float s) {
	return (1 - s) * r + (1 - r) * s;
}

// Genotype (allele count) of a haplotype pair at a site.
inline int genotypeAt(const chaplotype * h, int l) {
	return h[0].get(l) + h[1].get(l);
}

// Calls f(p, l) for each pair of consecutive sites p < l where the pair h is heterozygous.
template < class F > void forEachHeterozygousInterval(const chaplotype * h, int K, F f) {
	int p = -1;
	for (int l = 0 ; l < K ; l ++) {
		if (h[0].get(l) == h[1].get(l)) continue;
		if (p >= 0) f(p, l);
		p = l;
	}
}

// Probability of a crossover between two heterozygous parental sites, from the path weights
// of the parental index staying (same) and changing (diff) between them, the recombination
// fraction rho of the stretch and the parental switch rate s. A quotient outside [0, 1]
// ends the process with the diagnostics on the standard output.
float crossoverProbability(double same, double diff, float rho, float s, int l, float cM_l, float cM_p, float d, float s1, float s2);

#endif
