#ifndef _SEGMENT_LINKS_H
#define _SEGMENT_LINKS_H

#include "objects/genotype_graph.h"

#include <vector>

// Which fragment of a graph segment may follow which fragment of the segment before, as the
// copying models see it: every pair in the plain form, the pairs of one track's mask in the
// masked form of duos and trios. Per group g, 8 bytes: byte 8g + p has bit h set if
// fragment p of segment g - 1 may go to fragment h of segment g (group 0 has one row, the
// last group one column).
class segment_links {
public:
	// At most 8 fragments a segment: one byte holds a set of fragments.
	static const int max_fragments = 8;

	std::vector < unsigned char > bits;

	void set(genotype_graph * G);
	void set(genotype_graph * G, std::vector < std::vector < std::vector < bool > > > & mask);

	bool linked(int g, int p, int h) const { return (bits[max_fragments * g + p] >> h) & 1; }
	// Fragments of segment s in use: those entered by some pair of its incoming group.
	unsigned int active(int s) const;
	// Fragments of segment s - 1 that feed fragment h of segment s.
	unsigned int forwardSources(int s, int h) const;
	// Fragments of segment s + 1 that fragment h of segment s feeds.
	unsigned int backwardSources(int s, int h) const { return bits[max_fragments * (s + 1) + h]; }
};

#endif
