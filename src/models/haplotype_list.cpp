#include "models/haplotype_list.h"
#include "utils/assertion.h"
#include "utils/autils.h"

haplotype_list::haplotype_list(std::vector < chaplotype > & _haps, std::vector < bool > & cond_mask) : haps(_haps) {
	sorvane_assert(cond_mask.size() == haps.size());
	autils::findUniqueSet(cond_mask, idx);
}

// Forwards: the first column is 1 / K times the emission, then each column is the one
// before times nrec plus recN, times the emission. Backwards is the mirror image, the
// interval to the right of each site.
void haplotype_list::pass(const chaplotype & h, hmm_parameters & M, const std::vector < bool > * mask, std::vector < std::vector < double > > & out, std::vector < double > & sums, bool forwards) {
	const int L = h.size(), K = idx.size();
	out.assign(L, std::vector < double > (K, 0.0));
	sums.assign(L, 0.0);
	for (int n = 0 ; n < L ; n ++) {
		const int l = forwards ? n : L - 1 - n;
		const bool emits = !mask || (*mask)[l];
		double sum = 0.0;
		for (int k = 0 ; k < K ; k ++) {
			const double e = !emits ? 1.0 : (h[l] == haps[idx[k]][l] ? M.ed : M.ee);
			double v;
			if (n == 0) v = e / K;
			else {
				const int interval = forwards ? l - 1 : l;
				v = (out[forwards ? l - 1 : l + 1][k] * M.nrec[interval] + M.recN[interval]) * e;
			}
			out[l][k] = v;
			sum += v;
		}
		sums[l] = sum;
		for (double & v : out[l]) v /= sum;
	}
}

void haplotype_list::forward(const chaplotype & h, hmm_parameters & M, std::vector < std::vector < double > > & alpha, std::vector < double > & sums) {
	pass(h, M, nullptr, alpha, sums, true);
}

void haplotype_list::backward(const chaplotype & h, hmm_parameters & M, std::vector < std::vector < double > > & beta, std::vector < double > & sums) {
	pass(h, M, nullptr, beta, sums, false);
}

void haplotype_list::forward(const chaplotype & h, hmm_parameters & M, const std::vector < bool > & mask, std::vector < std::vector < double > > & alpha, std::vector < double > & sums) {
	pass(h, M, &mask, alpha, sums, true);
}

void haplotype_list::backward(const chaplotype & h, hmm_parameters & M, const std::vector < bool > & mask, std::vector < std::vector < double > > & beta, std::vector < double > & sums) {
	pass(h, M, &mask, beta, sums, false);
}

void haplotype_list::expectation(const chaplotype & h, hmm_parameters & M, std::vector < double > & result) {
	posteriors(h, M, nullptr, result);
}

void haplotype_list::expectation(const chaplotype & h, hmm_parameters & M, const std::vector < bool > & mask, std::vector < double > & result) {
	posteriors(h, M, &mask, result);
}

void haplotype_list::posteriors(const chaplotype & h, hmm_parameters & M, const std::vector < bool > * mask, std::vector < double > & result) {
	std::vector < std::vector < double > > alpha, beta;
	std::vector < double > fs, bs;
	pass(h, M, mask, alpha, fs, true);
	pass(h, M, mask, beta, bs, false);
	for (int l = 0 ; l < h.size() ; l ++) {
		if (mask && !(*mask)[l]) continue;
		double m = 0.0, d = 0.0;
		for (unsigned int k = 0 ; k < idx.size() ; k ++) {
			const double p = alpha[l][k] * beta[l][k];
			if (haps[idx[k]][l] == h[l]) m += p;
			else d += p;
		}
		result[l] += d / (d + m);
	}
}
