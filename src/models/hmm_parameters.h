#ifndef _HMM_PARAMETERS_H
#define _HMM_PARAMETERS_H

#include <vector>

class snp_set;

// Recombination terms per interval between consecutive sites, and the match and
// mismatch emission terms, of the haplotype copying model.
class hmm_parameters {
public:
	std::vector < double > t;
	std::vector < double > rec;
	std::vector < double > recN;
	std::vector < double > nrec;
	double ed;
	double ee;
	double edN;
	double eeN;

	hmm_parameters();

	void initialise(snp_set & S, int Ne);
	void initialise(snp_set & S, double rho);
	// Recombination over K haplotypes, N of them copied in each window; the mismatch rate of
	// Watterson's estimate over `copied` haplotypes.
	void update(int K, int N, int copied);
	void update(std::vector < double > & r, int N);

private:
	void resize(int n_intervals);
};

#endif
