#ifndef _BUILDER_H
#define _BUILDER_H

#include "input/genotype_reader.h"
#include "objects/genotype_graph.h"
#include "utils/work_queue.h"

#include <map>
#include <string>
#include <vector>

// Makes one genotype graph per unit record of the build order, the units claimed one by one
// by the workers of the run; vecG is in the order of the units whatever the thread count.
// The graphs are handed on to their owner, never deleted here.
class builder {
public:
	std::vector < genotype_graph * > vecG;
	genotype_reader & G;
	std::vector < std::map < std::string, int > > & units;
	work_queue & workers;
	// Genotypes of duos and trios set missing for breaking Mendel's laws; family units built.
	long n_mendel;
	int n_family;

	builder(genotype_reader & G, std::vector < std::map < std::string, int > > & units, work_queue & workers);

	void build();
	// The graph of one unit, and the count of its genotypes set missing.
	genotype_graph * build(std::map < std::string, int > & unit, int & errors);
};

#endif
