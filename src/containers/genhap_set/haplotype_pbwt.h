#ifndef _HAPLOTYPE_PBWT_H
#define _HAPLOTYPE_PBWT_H

#include "objects/chaplotype.h"

#include <functional>
#include <vector>

// Positional Burrows-Wheeler transform of all haplotypes, kept at checkpoint sites only,
// for conditioning state selection in time linear in the number of haplotypes. At a
// checkpoint the haplotypes are sorted by their sequences read backwards from the
// checkpoint site, so that neighbours in that order share the longest matches ending
// there. Layout, N haplotypes and C checkpoints, row c at c * N:
//   sorted[c * N + p].hap    haplotype at sort position p;
//   sorted[c * N + p].start  first site of the match between the haplotypes at p - 1 and p
//                            that ends at the checkpoint site (site + 1: they differ there;
//                            p = 0 has no predecessor and holds site + 1);
//   rank[c * N + h]          sort position of haplotype h.
// A walk reads both fields of each position it passes, from one cache line.
class haplotype_pbwt {
public:
	struct position {
		int hap, start;
	};
	int N;
	std::vector < int > sites;
	std::vector < position > sorted;
	std::vector < int > rank;

	haplotype_pbwt();

	// Checkpoints every `step` sites and at the last site.
	void build(const std::vector < chaplotype > & H, int n_sites, int step);
	bool empty() const { return sites.empty(); }

	// Adds to `selected` up to `states` haplotypes allowed in `allowed` and not selected yet,
	// the longest matches of the targets around the checkpoints of left .. right: in rounds,
	// each round taking at every checkpoint the next nearest allowed neighbour of each
	// target, the checkpoints visited spread over the window. A window without checkpoint
	// uses the one nearest its middle. `admit`, when given, decides whether a haplotype
	// reached by a walk joins; it may take earlier ones out of `selected`, lowering `added`.
	// `joined`, when given, receives every haplotype that joined, in order.
	using admission = std::function < bool (int h, std::vector < bool > & selected, int & added) >;
	void select(const std::vector < bool > & allowed, const std::vector < int > & targets, int left, int right, int states, std::vector < bool > & selected, const admission & admit = nullptr, std::vector < int > * joined = nullptr) const;

private:
	// One walk away from a target through the sort order of one checkpoint: the next
	// position above and below and the first site of the match with each.
	struct walker {
		const position * sorted;
		int up, down, up_start, down_start;
	};

	void checkpoints(int left, int right, int & first, int & last) const;
	walker startWalk(int c, int target) const;
	int next(walker & w, const std::vector < bool > & allowed) const;
};

#endif
