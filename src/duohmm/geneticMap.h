#ifndef _GENETICMAP_H
#define _GENETICMAP_H

#include <string>
#include <vector>

class genhap_set;

// Position to centimorgan table of the pedigree refinement, interpolated linearly. The
// first point is always position 0 at 0 cM.
class geneticMap {
public:
	int n;
	std::vector < float > pos;
	std::vector < float > cM;

	// A uniform 1.19 cM per megabase.
	geneticMap();
	// The map positions of the set's sites, or the uniform map when the run had no genetic
	// map (the sites then carry no map position).
	geneticMap(genhap_set & set);
	// A HapMap layout file (position, rate, map position, after one header line); an empty
	// name gives a uniform map up to 4e9 bp.
	geneticMap(std::string file);

	float interpolate(int position) const;
	void interpolate(const std::vector < int > & positions, std::vector < float > & out) const;

private:
	void add(float position, float cm);
};

#endif
