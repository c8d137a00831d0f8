#ifndef _GENOTYPE_GRAPH_TEST_UTILS_H
#define _GENOTYPE_GRAPH_TEST_UTILS_H

#include "objects/genotype_graph.h"

#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace graphtest {

// The first broken invariant of a freshly built graph over n_sites sites, "" if none:
// counters, sizes and exact capacities, fragment and state limits, nibble ranges, and
// no transition without a successor or a predecessor.
inline std::string fault(const genotype_graph & g, int n_sites) {
	const unsigned int n = g.type, S = g.HapsS.size();
	if (S == 0 || g.probsI.size() != S + 1 || g.probsC.size() != S + 1 || g.HapsI.size() != S || g.HapsC.size() != S) return "counter sizes";
	if (g.probs.size() * n != g.trans.size()) return "probs and trans sizes";
	if (g.trans.capacity() != g.trans.size() || g.probs.capacity() != g.probs.size() || g.probsI.capacity() != S + 1 || g.probsC.capacity() != S + 1
		|| g.HapsI.capacity() != S || g.HapsC.capacity() != S || g.HapsS.capacity() != S || g.Haps.data.capacity() != g.Haps.data.size()) return "inexact capacity";
	unsigned int sites = 0, limit = (n == 2 && !g.scaffolded) ? 10 : 32;
	for (unsigned int s = 0 ; s < S ; s ++) {
		if (g.HapsI[s] != (s ? g.HapsI[s - 1] + g.HapsC[s - 1] * g.HapsS[s - 1] : 0)) return "HapsI at " + std::to_string(s);
		if (g.HapsC[s] < 1 || g.HapsC[s] > 8 || g.HapsS[s] < 1) return "HapsC or HapsS at " + std::to_string(s);
		sites += g.HapsS[s];
	}
	if ((int)sites != n_sites || (int)g.Ambs.size() != n_sites || (int)g.Miss.size() != n_sites) return "site counts";
	if ((unsigned int)g.Haps.size() != g.HapsI[S - 1] + g.HapsC[S - 1] * g.HapsS[S - 1]) return "Haps size";
	for (unsigned int k = 0 ; k <= S ; k ++) {
		if (g.probsI[k] != (k ? g.probsI[k - 1] + g.probsC[k - 1] : 0) || g.probsC[k] == 0) return "probsI or probsC at " + std::to_string(k);
		std::set < std::vector < int > > states;
		for (unsigned int t = g.probsI[k] ; t < g.probsI[k] + g.probsC[k] ; t ++) {
			std::vector < int > previous;
			for (unsigned int j = 0 ; j < n ; j ++) {
				int lo = g.trans[t * n + j] & 15, hi = g.trans[t * n + j] >> 4;
				if (lo >= (k ? (int)g.HapsC[k - 1] : 1) || hi >= (k < S ? (int)g.HapsC[k] : 1)) return "nibble out of range in group " + std::to_string(k);
				previous.push_back(lo);
			}
			states.insert(previous);
			bool next = k == S, prior = k == 0;
			for (unsigned int u = k < S ? g.probsI[k + 1] : 0 ; !next && u < g.probsI[k + 1] + g.probsC[k + 1] ; u ++) next = g.linked(t * n, u * n);
			for (unsigned int u = k ? g.probsI[k - 1] : 0 ; !prior && u < g.probsI[k - 1] + g.probsC[k - 1] ; u ++) prior = g.linked(u * n, t * n);
			if (!next || !prior) return "dead end in group " + std::to_string(k);
		}
		if (states.size() > limit) return "too many states in segment " + std::to_string(k - 1);
	}
	return "";
}

// Every field of a graph, for comparing whole graphs.
inline std::string dump(const genotype_graph & g) {
	std::ostringstream s;
	s << (int)g.type << " " << g.famID << " " << g.name << " " << g.index << " " << g.fname << " " << g.fmain << " " << g.findex
		<< " " << g.mname << " " << g.mmain << " " << g.mindex << " " << g.scaffolded << " " << g.Haps.toString() << "\n";
	for (const std::string & p : g.properties) s << p << ",";
	for (const std::string & p : g.fproperties) s << p << ",";
	for (const std::string & p : g.mproperties) s << p << ",";
	for (unsigned char b : g.trans) s << " " << (int)b;
	for (float p : g.probs) s << " " << p;
	for (unsigned int x : g.probsI) s << " " << x;
	for (unsigned int x : g.probsC) s << " " << x;
	for (unsigned int x : g.HapsI) s << " " << x;
	for (unsigned int x : g.HapsC) s << " " << x;
	for (unsigned int x : g.HapsS) s << " " << x;
	s << "\n";
	for (bool b : g.Ambs) s << b;
	for (bool b : g.Miss) s << b;
	return s.str();
}

}

#endif
