#include "models/haplotype_graph.h"
#include "models/haplotype_list.h"
#include "models/model_test_utils.h"
#include "models/sparse_matrix.h"
#include "utils/myException.h"

#include <cmath>

using namespace modeltest;

// Links set, grown, read back and purged; rows opened by a fragment appended on the left.
TEST(sparse_matrix, SetGetPurge) {
	sparse_matrix S;
	S.set(0, 2, 1, 10, 0.1);
	S.set(0, 0, 1, 10, 0.2);
	S.set(2, 1, 3, 10, 0.3);
	S.set(0, 2, 1, 10, 0.3);
	EXPECT_EQ(S.R, (std::vector < int > { 0, 2, 2, 3 }));
	EXPECT_EQ(S.C, (std::vector < int > { 0, 2, 1 }));
	EXPECT_EQ(S.V, (std::vector < int > { 1, 2, 3 }));
	EXPECT_DOUBLE_EQ(S.VN[1], 0.2);
	// The row's chances follow the left fragment's latest share.
	EXPECT_DOUBLE_EQ(S.VC[0], 1 / 3.0);
	EXPECT_DOUBLE_EQ(S.VC[1], 2 / 3.0);
	EXPECT_EQ(S.sum(), 6);
	std::vector < std::vector < int > > M;
	S.matrix(M);
	EXPECT_EQ(M, (std::vector < std::vector < int > > { { 1, 0, 2 }, { 0, 0, 0 }, { 0, 3, 0 } }));
	S.purge(0, 2);
	EXPECT_EQ(S.V[1], 2);
	S.set(0, 0, -1, 10, 0.2);
	S.purge(0, 0);
	EXPECT_EQ(S.R, (std::vector < int > { 0, 1, 1, 2 }));
	EXPECT_EQ(S.C, (std::vector < int > { 2, 1 }));
}

// Blocks cover the sites; a target of at least the haplotype count gives one block; inner
// blocks stop near the target (at most twice it: one site can double the groups); taking a
// haplotype out and back restores counts and links exactly, and counts sum to 1 per block.
TEST(haplotype_graph, BlocksCountsAndLinks) {
	putils::initRandom(5);
	std::vector < chaplotype > H(30, chaplotype(200));
	for (chaplotype & h : H) for (int l = 0 ; l < 200 ; l ++) h.set(l, putils::getRandom() < 0.3);
	std::vector < int > all(30);
	std::iota(all.begin(), all.end(), 0);
	for (int states : { 30, 100, 8, 3 }) {
		haplotype_graph Hg(H, all, states);
		int total = 0;
		for (int b : Hg.block_sizes) total += b;
		EXPECT_EQ(total, 200);
		EXPECT_EQ(Hg.block_sizes.size() == 1, states >= 30) << states;
		for (unsigned int b = 0 ; b < Hg.levels.size() ; b ++) {
			EXPECT_NEAR(std::accumulate(Hg.counts[b].begin(), Hg.counts[b].end(), 0.0), 1.0, 1e-12);
			if (b > 0 && b + 1 < Hg.levels.size()) {
				EXPECT_LE((int)Hg.levels[b].size(), 2 * states) << states << " block " << b;
			}
			if (b > 0) {
				EXPECT_EQ(Hg.links[b - 1].sum(), 30);
			}
		}
		const std::vector < std::vector < double > > counts = Hg.counts;
		const std::vector < sparse_matrix > links = Hg.links;
		for (int k : { 4, 17, 22 }) Hg.rem(H[k]);
		for (int k : { 22, 4, 17 }) Hg.add(H[k]);
		EXPECT_EQ(Hg.counts, counts) << states;
		for (unsigned int b = 0 ; b < links.size() ; b ++) {
			EXPECT_EQ(Hg.links[b].R, links[b].R);
			EXPECT_EQ(Hg.links[b].C, links[b].C);
			EXPECT_EQ(Hg.links[b].V, links[b].V);
			EXPECT_EQ(Hg.links[b].VC, links[b].VC);
		}
	}
}

namespace {

// Reference matrices from the plain copying model: every chain of fragments, one per graph
// segment, that the links allow spells a haplotype over all sites, whose likelihood under
// haplotype_list over all haplotypes is added to the cells of its fragment pairs.
matrices listReference(Scene & x, const std::function < bool (int, int, int) > & links) {
	const genotype_graph & G = *x.G;
	const int S = G.HapsC.size(), L = x.GH.vecH[0].size();
	std::vector < bool > all (x.GH.vecH.size(), true);
	haplotype_list HL(x.GH.vecH, all);
	matrices ref(S + 1, std::vector < std::vector < double > > (8, std::vector < double > (8, 0.0)));
	std::vector < int > chain;
	std::function < void (int) > walk = [&](int s) {
		if (s == S) {
			chaplotype h(L);
			for (int t = 0, l = 0 ; t < S ; t ++) for (unsigned int i = 0 ; i < G.HapsS[t] ; i ++) h.set(l ++, G.getA(t, chain[t], i));
			std::vector < std::vector < double > > alpha;
			std::vector < double > sums;
			HL.forward(h, x.M, alpha, sums);
			double like = 1.0;
			for (double v : sums) like *= v;
			ref[0][0][chain[0]] += like;
			ref[S][chain[S - 1]][0] += like;
			for (int t = 1 ; t < S ; t ++) ref[t][chain[t - 1]][chain[t]] += like;
			return;
		}
		for (int h = 0 ; h < (int)G.HapsC[s] ; h ++) {
			if (!links(s, -1, h) || (s > 0 && !links(s, chain.back(), h))) continue;
			chain.push_back(h);
			walk(s + 1);
			chain.pop_back();
		}
	};
	walk(0);
	for (matrices::value_type & group : ref) {
		double total = 0.0;
		for (auto & row : group) total += std::accumulate(row.begin(), row.end(), 0.0);
		for (auto & row : group) for (double & v : row) v /= total;
	}
	return ref;
}

}

// With one block of distinct haplotypes the graph model is the plain copying model over all
// of them: its matrices equal the sums of the list model's likelihoods over all chains of
// fragments (130 sites: rescaling at 50 and 100), for every kind of unit, the masked form
// once per track. Identical haplotypes share one fragment, which the join of the passes
// weighs by its count on both sides: then the matrices stay close. Over many blocks the links
// only approximate the haplotypes' paths: every matrix is still a distribution.
TEST(haplotype_graph, ExpectationMatchesEnumeratedChains) {
	putils::initRandom(41);
	struct Case { int type, L; double het; int states; bool twin; double tolerance; };
	const Case cases[] = {
		{ 1, 130, 0.0, 100, false, 1e-9 }, { 2, 130, 0.02, 100, false, 1e-9 }, { 2, 40, 0.2, 12, false, 1e-9 },
		{ 3, 40, 0.15, 100, false, 1e-9 }, { 4, 40, 0.15, 100, false, 1e-9 },
		{ 2, 40, 0.2, 100, true, 0.05 }, { 2, 40, 0.2, 4, false, 1.0 }, { 4, 40, 0.15, 3, false, 1.0 },
	};
	for (const Case & c : cases) for (int rep = 0 ; rep < 2 ; rep ++) {
		Scene x(c.type, c.L, c.het, 0.0, true);
		const int K = x.GH.vecH.size();
		if (c.twin) x.GH.vecH[1] = x.GH.vecH[0];
		x.M.update(K, K);
		std::vector < int > all(K);
		std::iota(all.begin(), all.end(), 0);
		haplotype_graph Hg(x.GH.vecH, all, c.states);
		EXPECT_EQ(Hg.levels.size() == 1, c.states >= K);
		std::vector < mask_set > masks;
		x.G->mask(masks);
		for (int j = 0 ; j < (c.type < 3 ? 1 : c.type) ; j ++) {
			const std::string what = "type " + std::to_string(c.type) + " states " + std::to_string(c.states) + " rep " + std::to_string(rep) + " track " + std::to_string(j);
			const matrices ref = listReference(x, trackLinks(c.type, masks[j]));
			matrices prob = fresh(x.G->HapsC.size());
			if (c.type < 3) Hg.expectation(x.G.get(), x.M, prob);
			else Hg.expectation(x.G.get(), x.M, masks[j], prob);
			const int S = x.G->HapsC.size();
			for (int g = 0 ; g <= S ; g ++) {
				double total = 0.0;
				for (int a = 0 ; a < (g ? (int)x.G->HapsC[g - 1] : 1) ; a ++) for (int b = 0 ; b < (g < S ? (int)x.G->HapsC[g] : 1) ; b ++) {
					ASSERT_NEAR(prob[g][a][b], ref[g][a][b], c.tolerance) << what << " group " << g << " cell " << a << "," << b;
					ASSERT_GE(prob[g][a][b], 0.0);
					total += prob[g][a][b];
				}
				ASSERT_NEAR(total, 1.0, 1e-9) << what << " group " << g;
			}
		}
	}
}

// Emissions of 1e-200 leave nothing at the first boundary: the failure names the form, the
// individual, the block and the segment.
TEST(haplotype_graph, UnderflowAndNan) {
	putils::initRandom(3);
	Scene x(2, 40, 0.2, 0.0, true);
	std::vector < int > all(x.GH.vecH.size());
	std::iota(all.begin(), all.end(), 0);
	haplotype_graph Hg(x.GH.vecH, all, 100);
	ASSERT_GE(x.G->HapsC.size(), 2u);
	x.G->index = 7;
	matrices prob = fresh(x.G->HapsC.size());
	hmm_parameters tiny = x.M;
	tiny.ed = tiny.ee = 1e-200;
	try {
		Hg.expectation(x.G.get(), tiny, prob);
		FAIL() << "no underflow";
	} catch (myException & e) {
		EXPECT_EQ(std::string(e.what()), "Underflow in expectationUNR / i=7 b=0 sp=1");
	}
	hmm_parameters nan = x.M;
	nan.nrec[x.G->HapsS[0] - 1] = std::nan("");
	std::vector < mask_set > masks;
	x.G->mask(masks);
	try {
		Hg.expectation(x.G.get(), nan, masks[0], prob);
		FAIL() << "no NaN";
	} catch (myException & e) {
		EXPECT_EQ(std::string(e.what()), "Nan in expectationPED / i=7 b=0 sp=1");
	}
}
