#include "mosaic.h"
#include "utils/putils.h"

// Allele frequencies 0.5 u^2 for u uniform: most sites rare.
mosaic::mosaic(int n_sites, int n_ancestral) : ancestral(n_ancestral, std::vector < bool > (n_sites)) {
	for (int l = 0 ; l < n_sites ; l ++) {
		double u = putils::getRandom(), f = 0.5 * u * u;
		for (int k = 0 ; k < n_ancestral ; k ++) ancestral[k][l] = putils::getRandom() < f;
	}
}

void mosaic::draw(std::vector < bool > & h) const {
	const int n = ancestral.size();
	int source = putils::getRandom(n);
	for (unsigned int l = 0 ; l < h.size() ; l ++) {
		if (putils::getRandom() < 0.005) source = putils::getRandom(n);
		h[l] = ancestral[source][l] != (putils::getRandom() < 0.002);
	}
}
