#include "duohmm/hmm_utils.h"
#include "utils/myException.h"

#include <cmath>
#include <cstdlib>
#include <fstream>

int argmax(const std::vector < float > & v) {
	int best = 0;
	for (int i = 1 ; i < (int)v.size() ; i ++) if (v[i] > v[best]) best = i;
	return best;
}

int which_max(const int * v, int n) {
	int best = 0;
	for (int i = 1 ; i < n ; i ++) if (v[i] > v[best]) best = i;
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

std::vector < std::array < unsigned char, 8 > > uc2hap() {
	std::vector < std::array < unsigned char, 8 > > t (256);
	for (int v = 0 ; v < 256 ; v ++) for (int b = 0 ; b < 8 ; b ++) t[v][b] = (v >> b) & 1;
	return t;
}

std::vector < std::array < unsigned char, 256 > > buildLookup() {
	std::vector < std::array < unsigned char, 256 > > t (256);
	for (int i = 0 ; i < 256 ; i ++) for (int j = 0 ; j < 256 ; j ++) t[i][j] = __builtin_popcount(i ^ j);
	return t;
}

bool fileexists(const std::string & path) {
	return std::ifstream(path).good();
}

void recombinationFractions(const std::vector < float > & cM, float rate, std::vector < float > & recomb, std::vector < float > & norecomb) {
	const int K = cM.size();
	recomb.assign(K, 0.0f);
	norecomb.assign(K, 0.0f);
	for (int l = 0 ; l + 1 < K ; l ++) {
		float d = (cM[l + 1] - cM[l]) / 100;
		if (d <= 0) d = 1e-13f;
		// In double, so that a tiny fraction does not round to 0.
		double stay = std::exp(- (double)rate * d);
		norecomb[l] = stay;
		recomb[l] = 1.0 - stay;
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
