#include "duohmm/geneticMap.h"
#include "containers/genhap_set/genhap_set.h"
#include "objects/genotype_graph.h"
#include "objects/snp_set.h"
#include "utils/assertion.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>

geneticMap::geneticMap() : n(0) {
	add(0, 0);
	add(1e9, 1190);
}

geneticMap::geneticMap(genhap_set & set) : n(0) {
	add(0, 0);
	if (set.sites->size() == 0 || set.sites->getByIndex(0)->cm < 0) {
		add(1e9, 1190);
		return;
	}
	for (int l = 0 ; l < set.sites->size() ; l ++) {
		snp * s = set.sites->getByIndex(l);
		add(s->bp, (float)s->cm);
	}
}

geneticMap::geneticMap(std::string file) : n(0) {
	add(0, 0);
	if (file.empty()) {
		add(4e9, 4760);
		return;
	}
	std::ifstream f(file);
	if (!f.good()) {
		std::cerr << "Problem reading genetic map: " << file << "\nExiting..." << std::endl;
		exit(1);
	}
	f.ignore(1000, '\n');
	int position = 0;
	float rate = 0, cm = 0;
	// The stream is tested before the read, so that a failed last read stores its row again.
	while (f) {
		f >> position >> rate >> cm;
		add(position, cm);
	}
	add(pos.back() + 5000000, cM.back() + 5.95);
}

void geneticMap::add(float position, float cm) {
	pos.push_back(position);
	cM.push_back(cm);
	n ++;
}

// The last segment extends past the end of the map.
float geneticMap::interpolate(int position) const {
	float x = position;
	sorvane_assert(n > 0 && x >= pos[0]);
	int i = std::upper_bound(pos.begin() + 1, pos.end(), x) - pos.begin();
	if (i == n) i = n - 1;
	return (cM[i] - cM[i - 1]) * (x - pos[i - 1]) / (pos[i] - pos[i - 1]) + cM[i - 1];
}

void geneticMap::interpolate(const std::vector < int > & positions, std::vector < float > & out) const {
	out.resize(positions.size());
	for (unsigned int l = 0 ; l < positions.size() ; l ++) out[l] = interpolate(positions[l]);
}
