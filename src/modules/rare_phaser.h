#ifndef _RARE_PHASER_H
#define _RARE_PHASER_H

#include "containers/genhap_set/genhap_set.h"
#include "utils/work_queue.h"

#include <climits>

#include <vector>

// Places each singleton allele on the haplotype that the haplotypes around it point to,
// where the copying model has no evidence: no other haplotype carries the allele, so both
// orders of the heterozygote weigh the same. A new mutation sits on a long terminal branch,
// so its carrier is the haplotype of the pair that is farther from all other haplotypes
// around the site: the one whose nearest other haplotype, over the sites within `radius` on
// either side (the site itself left out), differs at more sites; on a tie, the one whose
// longest match with any other haplotype through the site is the shorter. Only unrelated
// individuals are moved: duos and trios keep their transmission, a phase scaffold its order,
// and a genotype never changes, only which of the two haplotypes holds the allele. Nor are
// the sites whose phase reads gave: `(*pinned)[i]` lists, ascending, the sites of individual i
// that a read joins to another of its heterozygotes.
// Decisions are all taken on the haplotypes as they were, by the workers a site each, then
// applied in site order.
class rare_phaser {
public:
	// Half-width of the neighbourhood: 0.2 cM with a genetic map, 200 kb without (the best
	// of 0.1 to 0.7 cM on simulated cohorts).
	static constexpr double radius_cm = 0.2;
	static constexpr double radius_bp = 200000.0;

	genhap_set & GH;

	rare_phaser(genhap_set & GH, const std::vector < std::vector < int > > * pinned = nullptr);

	// Returns the number of singletons moved to the other haplotype of their individual.
	int phase(work_queue & workers);

	// Sites over which haplotypes a and c differ among first .. last, site l left out; once
	// the count reaches `bound` it stops and returns a count of at least `bound`.
	int distance(int a, int c, int first, int last, int l, int bound = INT_MAX) const;
	// Length (cM with a map, else bp) of the longest stretch through site l, the site itself
	// left out, over which haplotypes a and c agree.
	double match(int a, int c, int l) const;
	// True when haplotype a is farther than haplotype b from all others around site l.
	bool farther(int a, int b, int l) const;

private:
	const std::vector < std::vector < int > > * pinned;
	std::vector < double > position;
	double radius;
	int n_sites;

	// True when the allele of haplotype h at site l may move: h belongs to an unrelated,
	// unscaffolded study sample and no read pins the site.
	bool movable(int h, int l) const;
	int partner(int h) const;
};

#endif
