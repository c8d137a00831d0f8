#ifndef _GENOTYPE_GRAPH_TEST_UTILS_H
#define _GENOTYPE_GRAPH_TEST_UTILS_H

#include "objects/genotype_graph.h"

#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace graphtest {

// The first broken invariant of a freshly built graph over n_sites sites, "" if none: those
// of any graph, then exact capacities, missing flags and the state limits.
inline std::string fault(const genotype_graph & g, int n_sites) {
	const std::string any = g.structuralFault(n_sites);
	if (!any.empty()) return any;
	const unsigned int n = g.type, S = g.HapsS.size(), limit = (n == 2 && !g.scaffolded) ? 10 : 32;
	if (g.trans.capacity() != g.trans.size() || g.probs.capacity() != g.probs.size() || g.probsI.capacity() != S + 1 || g.probsC.capacity() != S + 1
		|| g.HapsI.capacity() != S || g.HapsC.capacity() != S || g.HapsS.capacity() != S || g.Haps.data.capacity() != g.Haps.data.size()) return "capacities";
	if ((int)g.Miss.size() != n_sites) return "missing flags";
	for (unsigned int k = 1 ; k <= S ; k ++) {
		std::set < std::vector < int > > states;
		for (unsigned int t = g.probsI[k] ; t < g.probsI[k] + g.probsC[k] ; t ++) {
			std::vector < int > previous;
			for (unsigned int j = 0 ; j < n ; j ++) previous.push_back(g.trans[t * n + j] & 15);
			states.insert(previous);
		}
		if (states.size() > limit) return "states of segment " + std::to_string(k - 1);
	}
	return "";
}

// Every field of a graph: the header on the first line, the sample columns on the second.
inline std::string dump(const genotype_graph & g) {
	std::ostringstream s;
	s << +g.type << " " << g.famID << " " << g.name << " " << g.index << " " << g.fname << " " << g.fmain << " " << g.findex
		<< " " << g.mname << " " << g.mmain << " " << g.mindex << " " << g.scaffolded << "\n";
	for (auto * p : { &g.properties, &g.fproperties, &g.mproperties }) for (const std::string & x : *p) s << x << ",";
	auto all = [&](const auto & v) { s << "\n"; for (auto x : v) s << +x << ","; };
	all(g.trans); all(g.probs); all(g.probsI); all(g.probsC); all(g.HapsI); all(g.HapsC); all(g.HapsS); all(g.Ambs); all(g.Miss);
	return s.str() + "\n" + g.Haps.toString();
}

// Calls f on every path of linked transitions, as indices within their groups.
inline void allPaths(const genotype_graph & g, const std::function < void (std::vector < int > &) > & f, std::vector < int > path = {}) {
	const unsigned int k = path.size();
	if (k == g.probsC.size()) return f(path);
	path.push_back(0);
	for (unsigned int t = 0 ; t < g.probsC[k] ; t ++) {
		path[k] = t;
		if (k == 0 || g.linked((g.probsI[k - 1] + path[k - 1]) * g.type, (g.probsI[k] + t) * g.type)) allPaths(g, f, path);
	}
}

// Chance that a walk in the given direction draws `path`, each group in proportion to W
// among the transitions linked to the neighbour chosen before it.
inline double walkChance(const genotype_graph & g, const std::vector < int > & path, bool backward, const std::function < double (int, int) > & W) {
	const int G = g.probsC.size();
	double p = 1.0;
	for (int i = 0 ; i < G ; i ++) {
		int k = backward ? G - 1 - i : i, b = backward ? k + 1 : k - 1, before = b >= 0 && b < G ? (g.probsI[b] + path[b]) * g.type : -1;
		double sum = 0.0;
		for (unsigned int t = 0 ; t < g.probsC[k] ; t ++) {
			int pos = (g.probsI[k] + t) * g.type;
			if (before < 0 || (backward ? g.linked(pos, before) : g.linked(before, pos))) sum += W(k, t);
		}
		p *= W(k, path[k]) / sum;
	}
	return p;
}

}

#endif
