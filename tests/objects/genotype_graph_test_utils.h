#ifndef _GENOTYPE_GRAPH_TEST_UTILS_H
#define _GENOTYPE_GRAPH_TEST_UTILS_H

#include "objects/genotype_graph.h"

#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace graphtest {

// The first broken invariant of a freshly built graph over n_sites sites, "" if none:
// counters, exact capacities, fragment and state limits, nibble ranges, no dead end.
inline std::string fault(const genotype_graph & g, int n_sites) {
	const unsigned int n = g.type, S = g.HapsS.size(), limit = (n == 2 && !g.scaffolded) ? 10 : 32;
	if (S == 0 || g.probsI.size() != S + 1 || g.probsC.size() != S + 1 || g.HapsI.size() != S || g.HapsC.size() != S || g.probs.size() * n != g.trans.size()) return "sizes";
	if (g.trans.capacity() != g.trans.size() || g.probs.capacity() != g.probs.size() || g.probsI.capacity() != S + 1 || g.probsC.capacity() != S + 1
		|| g.HapsI.capacity() != S || g.HapsC.capacity() != S || g.HapsS.capacity() != S || g.Haps.data.capacity() != g.Haps.data.size()) return "capacities";
	unsigned int sites = 0, bits = 0;
	for (unsigned int s = 0 ; s < S ; s ++) {
		if (g.HapsI[s] != bits || g.HapsC[s] < 1 || g.HapsC[s] > 8) return "segment " + std::to_string(s);
		sites += g.HapsS[s];
		bits += g.HapsC[s] * g.HapsS[s];
	}
	if ((int)sites != n_sites || (int)g.Ambs.size() != n_sites || (int)g.Miss.size() != n_sites || g.Haps.size() != (int)bits) return "sites";
	for (unsigned int k = 0 ; k <= S ; k ++) {
		if (g.probsI[k] != (k ? g.probsI[k - 1] + g.probsC[k - 1] : 0) || g.probsC[k] == 0) return "group " + std::to_string(k);
		std::set < std::vector < int > > states;
		for (unsigned int t = g.probsI[k] ; t < g.probsI[k] + g.probsC[k] ; t ++) {
			std::vector < int > previous;
			for (unsigned int j = 0 ; j < n ; j ++) {
				int lo = g.trans[t * n + j] & 15, hi = g.trans[t * n + j] >> 4;
				if (lo >= (k ? (int)g.HapsC[k - 1] : 1) || hi >= (k < S ? (int)g.HapsC[k] : 1)) return "nibble in group " + std::to_string(k);
				previous.push_back(lo);
			}
			states.insert(previous);
			bool next = k == S, prior = k == 0;
			for (unsigned int u = k < S ? g.probsI[k + 1] : 0 ; !next && u < g.probsI[k + 1] + g.probsC[k + 1] ; u ++) next = g.linked(t * n, u * n);
			for (unsigned int u = k ? g.probsI[k - 1] : 0 ; !prior && u < g.probsI[k - 1] + g.probsC[k - 1] ; u ++) prior = g.linked(u * n, t * n);
			if (!next || !prior) return "dead end in group " + std::to_string(k);
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
