#ifndef _HAPLOTYPE_DISTANCE_H
#define _HAPLOTYPE_DISTANCE_H

// A candidate conditioning haplotype: its index in the haplotype set and its distance to
// the target. The selections keep candidates in a standard max-heap, so that the top is
// the worst one kept: with `minimise` the largest distance, otherwise the smallest.
// `minimise` is set by each selection on entry; it is per thread, so that threads running
// Hamming and match selections at the same time do not flip each other's heap order.
class haplotype_distance {
public:
	static thread_local bool minimise;
	int id;
	int distance;

	haplotype_distance(int id, int distance) : id(id), distance(distance) {}

	bool operator < (const haplotype_distance & o) const {
		return minimise ? (distance < o.distance) : (distance > o.distance);
	}
};

#endif
