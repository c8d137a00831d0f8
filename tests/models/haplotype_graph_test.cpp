#include "models/haplotype_graph.h"
#include "models/model_test_utils.h"
#include "models/sparse_matrix.h"

using namespace modeltest;

// Links set, grown, read back and purged; rows opened by a fragment appended on the left;
// a row's chances follow the left fragment's latest share.
TEST(sparse_matrix, SetGetPurge) {
	sparse_matrix S;
	for (auto & s : std::vector < std::vector < double > > { { 0, 2, 1, 0.1 }, { 0, 0, 1, 0.2 }, { 2, 1, 3, 0.3 }, { 0, 2, 1, 0.3 } }) S.set(s[0], s[1], s[2], 10, s[3]);
	EXPECT_EQ(S.R, (std::vector < int > { 0, 2, 2, 3 }));
	EXPECT_EQ(S.C, (std::vector < int > { 0, 2, 1 }));
	EXPECT_EQ(S.VN[1], 0.2);
	EXPECT_EQ(S.VC, (std::vector < double > { 1 / 3.0, 2 / 3.0, 1.0 }));
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
		EXPECT_EQ(std::accumulate(Hg.block_sizes.begin(), Hg.block_sizes.end(), 0), 200);
		EXPECT_EQ(Hg.block_sizes.size() == 1, states >= 30) << states;
		for (unsigned int b = 0 ; b < Hg.levels.size() ; b ++) {
			EXPECT_NEAR(std::accumulate(Hg.counts[b].begin(), Hg.counts[b].end(), 0.0), 1.0, 1e-12);
			EXPECT_TRUE(b == 0 || b + 1 == Hg.levels.size() || (int)Hg.levels[b].size() <= 2 * states) << states << " block " << b;
			EXPECT_TRUE(b == 0 || Hg.links[b - 1].sum() == 30) << b;
		}
		const std::vector < std::vector < double > > counts = Hg.counts;
		const std::vector < sparse_matrix > links = Hg.links;
		for (int k : { 4, 17, 22 }) Hg.rem(H[k]);
		for (int k : { 22, 4, 17 }) Hg.add(H[k]);
		EXPECT_EQ(Hg.counts, counts) << states;
		for (unsigned int b = 0 ; b < links.size() ; b ++)
			EXPECT_TRUE(Hg.links[b].R == links[b].R && Hg.links[b].C == links[b].C && Hg.links[b].V == links[b].V && Hg.links[b].VC == links[b].VC) << b;
	}
}

// With one block of distinct haplotypes the graph model is the plain copying model over all
// of them in one window: its matrices equal the sums over all chains of fragments (130
// sites: rescaling at 50 and 100), for every kind of unit, the masked form once per track.
// Identical haplotypes share one fragment, which the join of the passes weighs by its count
// on both sides: then the matrices stay close. Over many blocks the links only approximate
// the haplotypes' paths: every matrix is still a distribution.
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
		x.cond = { all }, x.start = { 0 }, x.stop = { c.L - 1 }, x.segStart = { 0 }, x.segStop = { (int)x.G->HapsC.size() - 1 };
		haplotype_graph Hg(x.GH.vecH, all, c.states);
		EXPECT_EQ(Hg.levels.size() == 1, c.states >= K);
		for (int j = 0 ; j < x.tracks() ; j ++)
			x.compare(x.expect(Hg, x.M, j), x.reference(j), 0.0, c.tolerance, "type " + std::to_string(c.type) + " states " + std::to_string(c.states) + " rep " + std::to_string(rep) + " track " + std::to_string(j));
	}
}
