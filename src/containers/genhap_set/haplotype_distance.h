#ifndef _HAPLOTYPE_DISTANCE_H
#define _HAPLOTYPE_DISTANCE_H

// A candidate conditioning haplotype: its index in the haplotype set and its distance to
// the target. The selections keep candidates in a standard max-heap, so that the top is
// the worst one kept: with `minimise` the largest distance, otherwise the smallest.
// `minimise` is shared by the whole process and set by each selection on entry.
class haplotype_distance {
public:
	static bool minimise;
	int id;
	int distance;

	haplotype_distance(int id, int distance) : id(id), distance(distance) {}

	bool operator < (const haplotype_distance & o) const {
		return minimise ? (distance < o.distance) : (distance > o.distance);
	}
};

#endif
