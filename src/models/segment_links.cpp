#include "models/segment_links.h"

void segment_links::set(genotype_graph * G) {
	const int S = G->HapsC.size();
	bits.assign(max_fragments * (S + 1), 0);
	for (int g = 0 ; g <= S ; g ++) {
		const int rows = g ? G->HapsC[g - 1] : 1, cols = g < S ? G->HapsC[g] : 1;
		for (int p = 0 ; p < rows ; p ++) bits[max_fragments * g + p] = (unsigned char)((1 << cols) - 1);
	}
}

void segment_links::set(genotype_graph * G, std::vector < std::vector < std::vector < bool > > > & mask) {
	const int S = G->HapsC.size();
	bits.assign(max_fragments * (S + 1), 0);
	for (int g = 0 ; g <= S ; g ++)
		for (int p = 0 ; p < (int)mask[g].size() ; p ++)
			for (int h = 0 ; h < (int)mask[g][p].size() ; h ++)
				if (mask[g][p][h]) bits[max_fragments * g + p] |= (unsigned char)(1 << h);
}

unsigned int segment_links::active(int s) const {
	unsigned int act = 0;
	for (int p = 0 ; p < max_fragments ; p ++) act |= bits[max_fragments * s + p];
	return act;
}

unsigned int segment_links::forwardSources(int s, int h) const {
	unsigned int src = 0;
	for (int p = 0 ; p < max_fragments ; p ++) if ((bits[max_fragments * s + p] >> h) & 1) src |= 1u << p;
	return src;
}
