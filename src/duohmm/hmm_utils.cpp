#include "duohmm/hmm_utils.h"
#include "utils/myException.h"

#include <cmath>

int argmax(const std::vector < float > & v) {
	int best = 0;
	for (int i = 1 ; i < (int)v.size() ; i ++) if (v[i] > v[best]) best = i;
	return best;
}

// Symmetric in the parents: each transmits one of its alleles.
bool is_mendel_consistent(int child, int father, int mother) {
	for (int f = 0 ; f < 2 ; f ++) for (int m = 0 ; m < 2 ; m ++) {
		int from_father = father == 2 || (father == 1 && f);
		int from_mother = mother == 2 || (mother == 1 && m);
		if (from_father + from_mother == child) return true;
	}
	return false;
}

void recombinationFractions(const std::vector < float > & cM, float rate, std::vector < float > & recomb) {
	const int K = cM.size();
	recomb.assign(K, 0.0f);
	for (int l = 0 ; l + 1 < K ; l ++) {
		float d = (cM[l + 1] - cM[l]) / 100;
		if (d <= 0) d = 1e-13f;
		// In double, so that a tiny fraction does not round to 0.
		recomb[l] = 1.0 - std::exp(- (double)rate * d);
	}
}

float crossoverProbability(double same, double diff, float rho, float s, int l, float cM_l, float cM_p, float d, float s1, float s2) {
	double den = same * stayProbability(rho, s) + diff * changeProbability(rho, s);
	double num = same * rho * s + diff * (1 - s) * rho;
	float q = num / den;
	// Thrown rather than printed: the run then ends through the log with the message, and
	// no haplotypes are written.
	if (!(q >= 0 && q <= 1)) throw myException("Pedigree refinement: invalid crossover probability " + std::to_string(q) + " at site " + std::to_string(l) + " (" + std::to_string(cM_l) + " cM after " + std::to_string(cM_p) + " cM, distance " + std::to_string(d) + ", rate " + std::to_string(rho) + ", switch terms " + std::to_string(s1) + " " + std::to_string(s2) + ")");
	return q;
}
