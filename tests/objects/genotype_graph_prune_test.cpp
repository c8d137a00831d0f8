#include "objects/genotype_graph.h"
#include "objects/genotype_graph_test_utils.h"
#include "utils/putils.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <set>

using graphtest::fault;

namespace {

// Three sites, one a segment with the fragments 0 and 1, every state linked to every next
// one; t lists the transitions of an inner group, two columns per track.
genotype_graph threeSites(int type, std::vector < std::vector < int > > t, const std::vector < float > & probs) {
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

std::string fragments(const genotype_graph & g) {
	std::vector < std::string > f(g.HapsC[0]);
	for (unsigned int h = 0 ; h < f.size() ; h ++) for (unsigned int i = 0 ; i < g.HapsS[0] ; i ++) f[h] += '0' + g.getA(0, h, i);
	std::sort(f.begin(), f.end());
	std::string s;
	for (std::string & x : f) s += x + " ";
	return s;
}

// A random path of linked transitions as tracks; "" unless they miss a genotype.
std::string randomPath(graphtest::Unit & u, std::vector < chaplotype > & H) {
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

// Whether a kept transition lacks a kept successor or a kept predecessor.
bool deadEnd(const genotype_graph & g, const std::vector < bool > & keep) {
	for (unsigned int k = 0 ; k + 1 < g.probsC.size() ; k ++) {
		const unsigned int a0 = g.probsI[k], b0 = g.probsI[k + 1], b1 = b0 + g.probsC[k + 1];
		std::vector < bool > out(b0 - a0, false), in(b1 - b0, false);
		for (unsigned int a = a0 ; a < b0 ; a ++) for (unsigned int b = b0 ; b < b1 ; b ++) if (keep[a] && keep[b] && g.linked(a * g.type, b * g.type)) out[a - a0] = in[b - b0] = true;
		for (unsigned int a = a0 ; a < b1 ; a ++) if (keep[a] && !(a < b0 ? out[a - a0] : in[a - b0])) return true;
	}
	return false;
}

}

// Everything merges into one segment, whose fragments are the haplotypes that the kept
// transitions allow, the transition crossing the threshold included.
TEST(genotype_graph_prune, ThresholdThenMergeOnHandGraphs) {
	const std::vector < std::vector < int > > all = { { 0, 0, 1, 1 }, { 0, 1, 0, 1 } };
	const std::vector < float > probs = { 0.7, 0.3, 0.1, 0.5, 0.3, 0.1, 0.03, 0.05, 0.02, 0.9, 0.2, 0.8 };
	struct Case { double threshold; std::string haps, ambs; };
	for (const Case & c : std::vector < Case > ({ { 0.0, "011 ", "000" }, { 0.5, "011 101 ", "110" }, { 0.99, "000 001 010 011 100 101 110 111 ", "111" } })) {
		// At 0.5, 1 -> 0 after 0 -> 1 pulls in the start at 1, and 0 -> 1 at the last site.
		genotype_graph g = threeSites(1, all, probs);
		g.pruneAndMerge(c.threshold);
		EXPECT_EQ(fault(g, 3), "");
		ASSERT_EQ(g.HapsC.size(), 1u);
		EXPECT_EQ(fragments(g), c.haps);
		std::string ambs;
		for (bool b : g.Ambs) ambs += '0' + b;
		EXPECT_EQ(ambs, c.ambs);
		EXPECT_EQ(g.phased(), c.threshold == 0.0);
	}

	// An unordered pair of one heterozygous site a segment: keeping the direct transition,
	// then a crossed one written with its tracks swapped, switches once.
	genotype_graph u = threeSites(2, { { 0, 0 }, { 0, 1 }, { 1, 1 }, { 1, 0 } }, { 1, 0.9, 0.1, 0.1, 0.9, 1 });
	std::swap(u.trans[8], u.trans[9]);
	u.pruneAndMerge(0.5);
	EXPECT_EQ(fault(u, 3), "");
	EXPECT_EQ(fragments(u), "001 110 ");

	// Weights conditional on the previous fragment; a class without mass turns uniform.
	genotype_graph g = threeSites(1, all, { 0.7, 0.3, 0.1, 0.5, 0.3, 0.1, 0.0, 0.0, 0.5, 0.5, 0.2, 0.8 });
	g.join2cond();
	const std::vector < float > conditional = { 0.7, 0.3, 1.0 / 6, 5.0 / 6, 0.75, 0.25, 0.5, 0.5, 0.5, 0.5, 1.0, 1.0 };
	for (unsigned int t = 0 ; t < conditional.size() ; t ++) EXPECT_FLOAT_EQ(g.probs[t], conditional[t]) << t;

	std::vector < int > start, stop, segStart, segStop, breaks = { 0, 1, 2 };
	g.cluster(breaks, start, stop, segStart, segStop);
	EXPECT_EQ(segStart, std::vector < int > ({ 0, 1 }));
	EXPECT_EQ(stop, std::vector < int > ({ 1, 2 }));
	breaks.push_back(3);
	EXPECT_DEATH(g.cluster(breaks, start, stop, segStart, segStop), "idx_b >= 0");
}

// Random units of every kind: consolide leaves no dead end; random windows tile the
// segments, neighbours sharing two; pruning keeps the invariants, the merge limits and
// the genotypes on every path, sites left unambiguous agree on all paths, and unordered
// pairs keep both ways through every pair of distinct states; masks cover every transition.
TEST(genotype_graph_prune, RandomUnitsStayValid) {
	putils::initRandom(99);
	const int L = 300;
	int segments_before = 0, segments_after = 0;
	for (int rep = 0 ; rep < 25 ; rep ++) for (int kind = 1 ; kind <= 5 ; kind ++) {
		graphtest::Unit u(std::min(kind, 4), kind == 5, L, 0.04, 0.35);
		genotype_graph & g = u.g;
		const int S = g.HapsS.size(), n = g.type;
		SCOPED_TRACE("kind " + std::to_string(kind) + " rep " + std::to_string(rep));
		ASSERT_EQ(fault(g, L), "");
		for (float & p : g.probs) p = pow(putils::getRandom(), 3);
		std::vector < bool > keep(g.probs.size());
		for (unsigned int t = 0 ; t < keep.size() ; t ++) keep[t] = putils::getRandom() < 0.2;
		while (g.consolide(keep) > 0);
		EXPECT_FALSE(deadEnd(g, keep));

		std::vector < int > start, stop, segStart, segStop, first(S + 1, 0);
		for (int s = 0 ; s < S ; s ++) first[s + 1] = first[s] + g.HapsS[s];
		g.cluster(S * 50, 50 * (1 + putils::getRandom(40)), start, stop, segStart, segStop);
		EXPECT_TRUE(segStart.front() == 0 && segStop.back() == S - 1);
		for (unsigned int w = 0 ; w < segStart.size() ; w ++) {
			EXPECT_TRUE(start[w] == first[segStart[w]] && stop[w] == first[segStop[w] + 1] - 1 && (segStop[w] > segStart[w] || S == 1));
			EXPECT_TRUE(w == 0 || segStart[w] == segStop[w - 1] - 1);
		}

		const double threshold = std::vector < double > ({ 0.0, 0.5, 0.9, 0.99 })[rep % 4];
		g.pruneAndMerge(threshold);
		if (threshold == 0.0) segments_before += S, segments_after += g.HapsS.size();
		ASSERT_EQ(fault(g, L), "");
		for (unsigned int s = 0, offset = 0 ; s < g.HapsS.size() ; offset += g.HapsS[s ++])
			EXPECT_LE(std::count(g.Ambs.begin() + offset, g.Ambs.begin() + offset + g.HapsS[s], true), 21);
		std::vector < chaplotype > H0, H;
		ASSERT_EQ(randomPath(u, H0), "");
		for (int k = 0 ; k < 5 ; k ++) {
			ASSERT_EQ(randomPath(u, H), "");
			for (int l = 0 ; l < L ; l ++) for (int j = 0 ; j < n && !g.Ambs[l] ; j ++) EXPECT_TRUE(H[j][l] == H0[j][l] && (n != 2 || H[j][l] == H[0][l]));
		}
		if (n == 2 && !g.scaffolded) for (unsigned int k = 0 ; k < g.probsC.size() ; k ++) {
			std::set < std::pair < int, int > > bytes;
			for (unsigned int t = g.probsI[k] ; t < g.probsI[k] + g.probsC[k] ; t ++) bytes.insert({ g.trans[2 * t], g.trans[2 * t + 1] });
			for (const std::pair < int, int > & b : bytes) {
				bool distinct = (b.first & 15) != (b.second & 15) && (b.first >> 4) != (b.second >> 4);
				EXPECT_TRUE(!distinct || bytes.count({ (b.second & 0xF0) | (b.first & 15), (b.first & 0xF0) | (b.second & 15) }));
			}
		}

		std::vector < std::vector < std::vector < std::vector < bool > > > > masks;
		g.mask(masks);
		ASSERT_EQ((int)masks.size(), n);
		for (unsigned int k = 0 ; k < g.probsC.size() ; k ++) for (int j = 0 ; j < n ; j ++) {
			EXPECT_EQ(masks[j][k].size(), k ? g.HapsC[k - 1] : 1);
			for (unsigned int t = g.probsI[k] ; t < g.probsI[k] + g.probsC[k] ; t ++) EXPECT_TRUE(masks[j][k][g.trans[t * n + j] & 15][g.trans[t * n + j] >> 4]);
		}
	}
	// Keeping only the top transitions leaves few paths, and many segments merge.
	EXPECT_LT(segments_after * 3, segments_before * 2);
}
