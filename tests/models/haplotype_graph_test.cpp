#include "models/haplotype_graph.h"
#include "models/haplotype_list.h"
#include "models/model_test_utils.h"
#include "models/sparse_matrix.h"

using namespace modeltest;

// Links set, grown, read back and purged; a row's chances follow the left fragment's share.
TEST(sparse_matrix, SetGetPurge) {
	sparse_matrix S;
	for (auto & s : std::vector < std::vector < double > > { { 0, 2, 1, 0.1 }, { 0, 0, 1, 0.2 }, { 2, 1, 3, 0.3 }, { 0, 2, 1, 0.3 } }) S.set(s[0], s[1], s[2], 10, s[3]);
	EXPECT_TRUE(S.R == std::vector < int > ({ 0, 2, 2, 3 }) && S.C == std::vector < int > ({ 0, 2, 1 }));
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
	EXPECT_TRUE(S.R == std::vector < int > ({ 0, 1, 1, 2 }) && S.C == std::vector < int > ({ 2, 1 }));
}

// One block of distinct haplotypes: the copying model over all of them in one window (130
// sites: rescaling at 50 and 100). Twins share a fragment: close. Many blocks: distributions.
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
		std::vector < int > all(K);
		std::iota(all.begin(), all.end(), 0);
		if (c.twin) x.GH.vecH[1] = x.GH.vecH[0];
		x.M.update(K, K, K);
		x.cond = { all }, x.start = { 0 }, x.stop = { c.L - 1 }, x.segStart = { 0 }, x.segStop = { (int)x.G->HapsC.size() - 1 };
		haplotype_graph Hg(x.GH.vecH, all, c.states);
		EXPECT_EQ(Hg.levels.size() == 1, c.states >= K);
		EXPECT_EQ(std::accumulate(Hg.block_sizes.begin(), Hg.block_sizes.end(), 0), c.L);
		for (int j = 0 ; j < x.tracks() ; j ++)
			x.compare(x.expect(Hg, x.M, j), x.reference(j), 0.0, c.tolerance, "type " + std::to_string(c.type) + " states " + std::to_string(c.states) + " rep " + std::to_string(rep) + " track " + std::to_string(j));
	}
}

// Forward and backward give Scene::copying's likelihood, with and without a site mask (a
// site outside it emits nothing); columns sum to 1; posteriors are added only in the mask.
TEST(haplotype_list, PassesMatchEnumeration) {
	putils::initRandom(8);
	const int L = 7;
	Scene x(2, L, 0.2, 0.0, true);
	x.M.update(4, 4, 4);
	x.cond = { { 0, 2, 3, 5 } }, x.start = { 0 }, x.stop = { L - 1 };
	std::vector < bool > cond(x.GH.vecH.size(), false), every(L, true), some = { 1, 0, 1, 1, 0, 0, 1 };
	for (int k : x.cond[0]) cond[k] = true;
	haplotype_list HL(x.GH.vecH, cond);
	EXPECT_EQ(HL.idx, x.cond[0]);
	const chaplotype & h = x.GH.vecH[4];
	std::vector < int > hap;
	for (int l = 0 ; l < L ; l ++) hap.push_back(h[l]);
	for (const std::vector < bool > * mask : { &every, &some }) {
		for (int l = 0 ; l < L ; l ++) for (genotype_graph * g : { x.G.get(), x.GH.vecG[0], x.GH.vecG[1], x.GH.vecG[2] }) g->Miss[l] = !(*mask)[l];
		std::vector < std::vector < double > > alpha, beta;
		std::vector < double > fs, bs, result(L, 0.5);
		if (mask == &every) HL.forward(h, x.M, alpha, fs), HL.backward(h, x.M, beta, bs), HL.expectation(h, x.M, result);
		else HL.forward(h, x.M, *mask, alpha, fs), HL.backward(h, x.M, *mask, beta, bs), HL.expectation(h, x.M, *mask, result);
		const double like = x.copying(hap, 0, false) / 4;
		for (const std::vector < double > * s : { &fs, &bs }) EXPECT_NEAR(std::accumulate(s->begin(), s->end(), 1.0, std::multiplies < double > ()) / like, 1.0, 1e-12);
		for (int l = 0 ; l < L ; l ++) {
			for (const auto * m : { &alpha, &beta }) EXPECT_NEAR(std::accumulate((*m)[l].begin(), (*m)[l].end(), 0.0), 1.0, 1e-12);
			EXPECT_TRUE((*mask)[l] ? result[l] >= 0.5 && result[l] <= 1.5 : result[l] == 0.5) << l;
		}
	}
}
