#ifndef _HAPLOTYPE_PAIRS_H
#define _HAPLOTYPE_PAIRS_H

#include "objects/chaplotype.h"

#include <string>
#include <vector>

class genotype_graph;

// Tabulates, over one window of sites, the combinations of window haplotypes that repeated
// sampling gives each individual: pairs for an unrelated, one haplotype for a haploid,
// three for a duo and four for a trio. H holds the distinct window haplotypes in order of
// first sight; a combination is 1 to 4 indices into H, which may grow to any size. P counts
// each combination until normaliseProbs makes the counts probabilities.
class haplotype_pairs {
public:
	std::string id;
	std::vector < int > sites;
	std::vector < std::vector < bool > > H;
	std::vector < float > F;
	std::vector < std::vector < std::vector < int > > > C;
	std::vector < std::vector < float > > P;

	haplotype_pairs(std::string & id, std::vector < int > & sites, int individuals);

	// Position in H of the window part of h: findH gives -1 when it is not there yet,
	// addH appends it.
	int findH(chaplotype & h);
	int addH(chaplotype & h);

	void addP(int ind, chaplotype & h0);
	void addP(int ind, chaplotype & h0, chaplotype & h1);
	void addP(int ind, chaplotype & h0, chaplotype & h1, chaplotype & h2);
	void addP(int ind, chaplotype & h0, chaplotype & h1, chaplotype & h2, chaplotype & h3);

	void normaliseProbs();
	void computeFrequencies();
	// One line a combination: unit index, its type and names (units[i] is unit i), the
	// combination's index and probability, then its haplotype indices.
	void writePairs(const std::vector < genotype_graph * > & units);
	void writeFreqs();

private:
	int indexH(chaplotype & h);
	// Counts one more sight of combination c for ind; `unordered` makes (a, b) and (b, a) one.
	void count(int ind, const std::vector < int > & c, bool unordered);
};

#endif
