#include "objects/genotype_graph_test_utils.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

using graphtest::fault;

// Three one-site segments of fragments 0 and 1, all states linked; t: an inner group, two columns per track.
static genotype_graph threeSites(int type, std::vector < std::vector < int > > t, const std::vector < float > & probs) {
	genotype_graph g(type, 0);
	std::vector < std::vector < bool > > alleles = { { 0 }, { 1 } };
	std::vector < std::vector < int > > first(2 * type), last(2 * type);
	for (int j = 0 ; j < type ; j ++) {
		first[2 * j + 1] = last[2 * j] = type == 1 ? std::vector < int > ({ 0, 1 }) : std::vector < int > ({ j });
		first[2 * j] = last[2 * j + 1] = std::vector < int > (first[2 * j + 1].size(), 0);
	}
	for (int s = 0 ; s < 3 ; s ++) g.pushHaps(alleles);
	for (std::vector < std::vector < int > > * group : { &first, &t, &t, &last }) g.pushTrans(*group);
	g.Ambs.assign(3, true);
	g.Miss.assign(3, false);
	g.probs = probs;
	return g;
}

static std::string fragments(const genotype_graph & g) {
	std::vector < std::string > f(g.HapsC[0]);
	for (unsigned int h = 0 ; h < f.size() ; h ++) for (unsigned int i = 0 ; i < g.HapsS[0] ; i ++) f[h] += '0' + g.getA(0, h, i);
	std::sort(f.begin(), f.end());
	std::string s;
	for (std::string & x : f) s += x + " ";
	return s;
}

// A random path of linked transitions as tracks; "" unless they miss a genotype.
static std::string randomPath(graphtest::Unit & u, std::vector < chaplotype > & H) {
	const genotype_graph & g = u.g;
	std::vector < int > path;
	for (unsigned int k = 0 ; k < g.probsC.size() ; k ++) {
		std::vector < int > next;
		for (unsigned int t = 0 ; t < g.probsC[k] ; t ++)
			if (k == 0 || g.linked((g.probsI[k - 1] + path.back()) * g.type, (g.probsI[k] + t) * g.type)) next.push_back(t);
		path.push_back(next[putils::getRandom(next.size())]);
	}
	H.assign(g.type, chaplotype(u.geno[0].size()));
	u.g.buildGuesses(H, u.idx, path);
	return u.mismatch(H);
}

// One segment of what the kept transitions allow (the one crossing the threshold too); a class without mass turns uniform.
TEST(genotype_graph_prune, ThresholdThenMergeOnHandGraphs) {
	const std::vector < std::vector < int > > all = { { 0, 0, 1, 1 }, { 0, 1, 0, 1 } };
	const std::vector < float > probs = { 0.7, 0.3, 0.1, 0.5, 0.3, 0.1, 0.03, 0.05, 0.02, 0.9, 0.2, 0.8 };
	struct Case { double threshold; std::string haps; std::vector < bool > ambs; };
	for (const Case & c : std::vector < Case > ({ { 0.0, "011 ", { 0, 0, 0 } }, { 0.5, "011 101 ", { 1, 1, 0 } }, { 0.99, "000 001 010 011 100 101 110 111 ", { 1, 1, 1 } } })) {
		// At 0.5, 1 -> 0 after 0 -> 1 pulls in the start at 1, and 0 -> 1 at the last site.
		genotype_graph g = threeSites(1, all, probs);
		g.pruneAndMerge(c.threshold);
		ASSERT_EQ(fault(g, 3), "");
		EXPECT_TRUE(fragments(g) == c.haps && g.Ambs == c.ambs) << fragments(g);
		EXPECT_EQ(g.phased(), c.threshold == 0.0);
	}

	genotype_graph g = threeSites(1, all, { 0.7, 0.3, 0.1, 0.5, 0.3, 0.1, 0.0, 0.0, 0.5, 0.5, 0.2, 0.8 });
	g.join2cond();
	const std::vector < float > conditional = { 0.7, 0.3, 1.0 / 6, 5.0 / 6, 0.75, 0.25, 0.5, 0.5, 0.5, 0.5, 1.0, 1.0 };
	for (unsigned int t = 0 ; t < conditional.size() ; t ++) EXPECT_FLOAT_EQ(g.probs[t], conditional[t]) << t;
}

// Pruning keeps invariants, merge limits and genotypes; unambiguous sites agree on all paths; masks cover all.
TEST(genotype_graph_prune, RandomUnitsStayValid) {
	putils::initRandom(99);
	const int L = 300;
	for (int rep = 0 ; rep < 25 ; rep ++) for (int kind = 1 ; kind <= 5 ; kind ++) {
		graphtest::Unit u(std::min(kind, 4), kind == 5, L, 0.04, 0.35);
		genotype_graph & g = u.g;
		const int n = g.type;
		SCOPED_TRACE("kind " + std::to_string(kind) + " rep " + std::to_string(rep));
		ASSERT_EQ(fault(g, L), "");
		for (float & p : g.probs) p = pow(putils::getRandom(), 3);
		const double threshold = std::vector < double > ({ 0.0, 0.5, 0.9, 0.99 })[rep % 4];
		g.pruneAndMerge(threshold);
		ASSERT_EQ(fault(g, L), "");
		for (unsigned int s = 0, offset = 0 ; s < g.HapsS.size() ; offset += g.HapsS[s ++])
			EXPECT_LE(std::count(g.Ambs.begin() + offset, g.Ambs.begin() + offset + g.HapsS[s], true), 21);
		std::vector < chaplotype > H0, H;
		ASSERT_EQ(randomPath(u, H0), "");
		for (int k = 0 ; k < 5 ; k ++) {
			ASSERT_EQ(randomPath(u, H), "");
			for (int l = 0 ; l < L ; l ++) for (int j = 0 ; j < n && !g.Ambs[l] ; j ++) EXPECT_TRUE(H[j][l] == H0[j][l] && (n != 2 || H[j][l] == H[0][l]));
		}
		std::vector < std::vector < std::vector < std::vector < bool > > > > masks;
		g.mask(masks);
		ASSERT_EQ((int)masks.size(), n);
		for (unsigned int k = 0 ; k < g.probsC.size() ; k ++) for (int j = 0 ; j < n ; j ++) {
			EXPECT_EQ(masks[j][k].size(), k ? g.HapsC[k - 1] : 1);
			for (unsigned int t = g.probsI[k] ; t < g.probsI[k] + g.probsC[k] ; t ++) EXPECT_TRUE(masks[j][k][g.trans[t * n + j] & 15][g.trans[t * n + j] >> 4]);
		}
	}
}
