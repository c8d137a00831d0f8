#include "models/hmm_parameters.h"
#include "objects/snp.h"
#include "objects/snp_set.h"

#include <cmath>

// A zero distance would make the switch probability vanish between two sites.
static const double min_distance = 1e-05;

hmm_parameters::hmm_parameters() : ed(0.0), ee(0.0), edN(0.0), eeN(0.0) {
}

void hmm_parameters::resize(int n_intervals) {
	t = std::vector < double > (n_intervals, 0.0);
	rec = std::vector < double > (n_intervals, 0.0);
	recN = std::vector < double > (n_intervals, 0.0);
	nrec = std::vector < double > (n_intervals, 0.0);
}

void hmm_parameters::initialise(snp_set & S, int Ne) {
	resize(S.size() > 0 ? S.size() - 1 : 0);
	for (int l = 0 ; l < (int)t.size() ; l ++) {
		t[l] = Ne * 0.04 * (S.getByIndex(l + 1)->cm - S.getByIndex(l)->cm);
		if (t[l] == 0.0) t[l] = min_distance;
	}
}

void hmm_parameters::initialise(snp_set & S, double rho) {
	resize(S.size() > 0 ? S.size() - 1 : 0);
	for (int l = 0 ; l < (int)t.size() ; l ++) {
		t[l] = (S.getByIndex(l + 1)->bp - S.getByIndex(l)->bp) * rho;
		if (t[l] == 0.0) t[l] = min_distance;
	}
}

void hmm_parameters::update(int K, int N, int copied) {
	for (int l = 0 ; l < (int)t.size() ; l ++) {
		nrec[l] = exp(-t[l] / K);
		rec[l] = 1.0 - nrec[l];
		recN[l] = rec[l] / N;
	}
	// Watterson's harmonic sum, deliberately stopping at copied - 2.
	double x = 0.0;
	for (int i = 1 ; i <= copied - 2 ; i ++) x += 1.0 / i;
	double theta = 1.0 / x;
	ee = theta / (copied + theta) * 0.5;
	ed = copied / (copied + theta) + ee;
	edN = ed / N;
	eeN = ee / N;
}

// Takes per-interval switch probabilities and resets them, so the caller's counters
// start afresh.
void hmm_parameters::update(std::vector < double > & r, int N) {
	for (int l = 0 ; l < (int)r.size() ; l ++) {
		if (min_distance > r[l]) r[l] = min_distance;
		nrec[l] = 1.0 - r[l];
		rec[l] = r[l];
		recN[l] = r[l] / N;
		r[l] = 0.0;
	}
}
