#ifndef _GENOTYPE_GRAPH_TEST_UTILS_H
#define _GENOTYPE_GRAPH_TEST_UTILS_H

#include "objects/genotype_graph.h"
#include "utils/putils.h"

#include <cmath>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace graphtest {

// The first broken invariant of a freshly built graph, "" if none: capacities, missing flags and state limits too.
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

// Chance that a walk in the given direction draws `path`, each group in proportion to W among its linked transitions.
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

// A graph with its child, father and mother named, the parents founders of the unit or not.
inline genotype_graph named(int type, int family, std::string child, std::string father, bool fmain, std::string mother, bool mmain) {
	genotype_graph g(type, family);
	std::vector < std::string > none;
	g.pushChild(child, 0, none);
	g.pushFather(father, fmain, 1, none);
	g.pushMother(mother, mmain, 2, none);
	return g;
}

inline std::vector < bool > randomBits(int n, double p) {
	std::vector < bool > v(n);
	for (int i = 0 ; i < n ; i ++) v[i] = putils::getRandom() < p;
	return v;
}

// Per type of unit, the two tracks whose alleles add up to each member's genotype.
const std::vector < std::vector < std::pair < int, int > > > MEMBERS = { {}, { { 0, 0 } }, { { 0, 1 } }, { { 0, 1 }, { 0, 2 } }, { { 0, 1 }, { 2, 3 }, { 0, 3 } } };

// A unit built from random tracks (allele 1 with chance `freq`), genotypes missing with chance `miss`, a child made
// homozygous with chance `mendel`. A: per member alleles and missing flags, then the scaffold; geno: sums, -1 if missing.
struct Unit {
	genotype_graph g;
	std::vector < std::vector < bool > > A;
	std::vector < std::vector < int > > geno;
	std::vector < int > idx = { 0, 1, 2, 3 };
	int errors = 0;

	Unit(const genotype_graph & graph, const std::vector < std::vector < int > > & geno) : g(graph), geno(geno) {}
	Unit(int type, bool scaffold, int L, double miss, double freq = 0.4, double mendel = 0.0) : g(type, 0), A(10, std::vector < bool > (L)), geno(MEMBERS[type].size(), std::vector < int > (L)) {
		for (int l = 0 ; l < L ; l ++) {
			bool h[4];
			for (bool & x : h) x = putils::getRandom() < freq;
			for (unsigned int m = 0 ; m < geno.size() ; m ++) {
				const bool missing = putils::getRandom() < miss;
				A[3 * m][l] = !missing && h[MEMBERS[type][m].first];
				A[3 * m + 1][l] = !missing && h[MEMBERS[type][m].second];
				if (mendel > 0 && type > 2 && m == geno.size() - 1 && !missing && putils::getRandom() < mendel) A[3 * m][l] = A[3 * m + 1][l] = putils::getRandom() < 0.5;
				A[3 * m + 2][l] = missing;
				geno[m][l] = missing ? -1 : A[3 * m][l] + A[3 * m + 1][l];
			}
			A[9][l] = putils::getRandom() < 0.5;
		}
		if (type == 1) g.buildHap(A[0], A[2]);
		else if (type == 2 && scaffold) g.buildUnr(A[0], A[1], A[2], A[9]);
		else if (type == 2) g.buildUnr(A[0], A[1], A[2]);
		else if (type == 3) errors = g.buildDuo(A[0], A[1], A[2], A[3], A[4], A[5]);
		else errors = g.buildTrio(A[0], A[1], A[2], A[3], A[4], A[5], A[6], A[7], A[8]);
	}

	std::string mismatch(const std::vector < chaplotype > & H) const {
		for (unsigned int m = 0 ; m < geno.size() ; m ++) for (unsigned int l = 0 ; l < geno[m].size() ; l ++)
			if (geno[m][l] >= 0 && H[MEMBERS[g.type][m].first][l] + H[MEMBERS[g.type][m].second][l] != geno[m][l]) return "member " + std::to_string(m) + " site " + std::to_string(l);
		return "";
	}

	static std::string text(const std::vector < chaplotype > & H) {
		std::string s;
		for (const chaplotype & h : H) s += h.toString() + "|";
		return s;
	}

	// The tracks that a path spells (the coin of an unordered pair drawn).
	std::string spell(std::vector < int > & path) {
		std::vector < chaplotype > H(g.type, chaplotype(geno[0].size()));
		g.buildGuesses(H, idx, path);
		return text(H);
	}
};

}

#endif
