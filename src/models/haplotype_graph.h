#ifndef _HAPLOTYPE_GRAPH_H
#define _HAPLOTYPE_GRAPH_H

#include "models/hmm_parameters.h"
#include "models/segment_links.h"
#include "models/sparse_matrix.h"
#include "objects/chaplotype.h"
#include "objects/genotype_graph.h"

#include <string>
#include <unordered_map>
#include <vector>

// All allowed haplotypes compressed into one graph: the chromosome is cut into blocks of
// adjacent sites, each holding about max_states distinct fragments (levels), with the share
// of haplotypes that carry each fragment (counts) and the haplotype counts between the
// fragments of neighbouring blocks (links[b] joins block b to block b + 1). The copying
// model then runs over block fragments instead of conditioning haplotypes.
//
// Lattice buffers of the passes: cell (h, x) of graph fragment h and block fragment x at
// h * width + x, width being the largest block's fragment count; one row sum per h. Kept
// items, one per graph segment, hold HapsC rows of the X cells of their block, flat.
class haplotype_graph {
public:
	std::vector < chaplotype > & haps;
	std::vector < int > & indexes;
	int max_states;
	std::vector < std::vector < std::vector < bool > > > levels;
	std::vector < std::vector < double > > counts;
	std::vector < sparse_matrix > links;
	std::vector < int > block_sizes;
	int nb_snp;
	int nb_hap;

	haplotype_graph(std::vector < chaplotype > & haps, std::vector < int > & indexes, int states);

	void add(chaplotype & h);
	void rem(chaplotype & h);

	// Plain form for haploid and unrelated graphs, masked form (one track) for duos and trios;
	// prob[g][a][b] as in the window model, each matrix normalised.
	void expectation(genotype_graph * G, hmm_parameters & M, std::vector < std::vector < std::vector < double > > > & prob);
	void expectation(genotype_graph * G, hmm_parameters & M, std::vector < std::vector < std::vector < bool > > > & mask, std::vector < std::vector < std::vector < double > > > & prob);

	int getMaxState() const;
	void verbose() const;

private:
	// First site of each block, block of each site, and each block's fragments by their bits.
	std::vector < int > block_start;
	std::vector < int > site_block;
	std::vector < std::unordered_map < std::vector < bool >, int > > fragment_index;
	// Per block, the alleles of its fragments site by site: fragment x at site j of block b is
	// byte j * table_stride[b] + x of allele_table[b]. The stride grows by doubling.
	std::vector < std::vector < unsigned char > > allele_table;
	std::vector < int > table_stride;
	// Number of haplotypes that carry each fragment: counts are these over nb_hap, so that
	// removing and adding back a haplotype restores them exactly.
	std::vector < std::vector < int > > carriers;

	// The passes of one call: two alternating buffers, the mix of the source rows at a graph
	// segment boundary, and the emission rows of the two alleles at the current site.
	struct lattice {
		int width;
		std::vector < double > cells[2];
		std::vector < double > sums[2];
		std::vector < double > mix;
		std::vector < double > emit;
	};
	// One item per graph segment, in segment order: cells at offset I, row sums at offset J,
	// X cells a row.
	struct items {
		std::vector < double > P;
		std::vector < double > S;
		std::vector < int > I;
		std::vector < int > J;
		std::vector < int > X;
	};

	void buildBlocks();
	int extendDistinctHaps(int from, int dir);
	void mergeEnds();
	void update(chaplotype & h, int step);
	int fragment(int b, chaplotype & h, bool append);

	void run(genotype_graph * G, hmm_parameters & M, const segment_links & T, std::vector < std::vector < std::vector < double > > > & prob, const std::string & form);
	void forward(genotype_graph * G, hmm_parameters & M, const segment_links & T, lattice & A, items & F);
	void backward(genotype_graph * G, hmm_parameters & M, const segment_links & T, lattice & A, items & B);
	// One site of a pass: the cells of the active fragments from the buffer of the site
	// before (`from`, -1 at the first site of the pass), with the chance of a switch and of
	// none in between; `boundary` says whether the sources are all fragments of the
	// neighbouring segment; links[link] joins the two blocks when they differ.
	void step(genotype_graph * G, hmm_parameters & M, const segment_links & T, lattice & A, int l, int from, int s, int i, bool boundary, bool forwards);
	void mixSources(unsigned int src, const double * old, const double * oldsum, int X, lattice & A, double & mixS) const;
	void keep(items & K, const double * cur, const double * cursum, int C, int X, int width, unsigned int act) const;
	void interior(genotype_graph * G, hmm_parameters & M, const segment_links & T, items & F, items & B, std::vector < std::vector < std::vector < double > > > & prob, const std::string & form);
};

#endif
