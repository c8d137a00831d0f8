#ifndef _BENCH_MOSAIC_H
#define _BENCH_MOSAIC_H

#include <vector>

// Haplotypes copied from a few ancestral ones with rare switches (0.5 % a site) and errors
// (0.2 % a site), so that a simulated cohort has linkage and a realistic, skewed frequency
// spectrum. Drawn from the program's random generator: fixed by the caller's seed.
class mosaic {
public:
	std::vector < std::vector < bool > > ancestral;

	mosaic(int n_sites, int n_ancestral);

	void draw(std::vector < bool > & h) const;
};

#endif
