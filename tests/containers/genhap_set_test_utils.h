#ifndef _GENHAP_SET_TEST_UTILS_H
#define _GENHAP_SET_TEST_UTILS_H

#include "containers/genhap_set/genhap_set.h"
#include "objects/genotype_graph_test_utils.h"
#include "objects/snp_set.h"

#include <string>
#include <vector>

namespace genhaptest {

// A unit: its type and family, its child's name, the father (a founder of the unit or not) and the mother.
struct Member { int type, family; std::string child, father = "0"; bool fmain = false; std::string mother = "0"; };

// Units of the given types, each its own family unless `family` says otherwise.
inline std::vector < Member > plain(const std::vector < int > & types, std::vector < int > family = {}) {
	std::vector < Member > m;
	for (unsigned int i = 0 ; i < types.size() ; i ++) m.push_back({ types[i], family.empty() ? (int)i : family[i], "s" + std::to_string(i) });
	return m;
}

// The units over L sites at 100, 200, ...
struct Study {
	snp_set S;
	genhap_set GH;
	Study(const std::vector < Member > & units, int L) {
		for (int l = 0 ; l < L ; l ++) S.put(new snp("1", 100 * (l + 1), "A", "C", 3));
		S.indexing();
		std::vector < genotype_graph * > graphs;
		for (const Member & m : units) graphs.push_back(new genotype_graph(graphtest::named(m.type, m.family, m.child, m.father, m.fmain, m.mother, false)));
		GH.initialise(graphs, &S);
	}
	void set(int h, const std::string & bits) {
		for (unsigned int l = 0 ; l < bits.size() ; l ++) GH.vecH[h].set(l, bits[l] == '1');
	}
	// Copies of haplotype 0, each with its own rate of changed sites.
	void mutatedCopies() {
		for (int l = 0 ; l < S.size() ; l ++) GH.vecH[0].set(l, putils::getRandom() < 0.5);
		for (unsigned int h = 1 ; h < GH.vecH.size() ; h ++) {
			double rate = 0.3 * putils::getRandom();
			for (int l = 0 ; l < S.size() ; l ++) GH.vecH[h].set(l, GH.vecH[0][l] != (putils::getRandom() < rate));
		}
	}
};

}

#endif
