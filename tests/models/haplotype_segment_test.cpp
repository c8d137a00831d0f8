#include "models/haplotype_graph.h"
#include "models/haplotype_segment.h"
#include "models/model_test_utils.h"

#include <cmath>

using namespace modeltest;

// Every kind of unit against enumeration: many windows or one, missing data, emissions scaled
// by 1e-4, rare alleles, a mismatch of 1e-12, twins (11 is 10 but for the last site), and
// sets repeated cyclically to K haplotypes, so that rows span several vectors and a remainder.
TEST(haplotype_segment, ExpectationMatchesEnumeratedChains) {
	putils::initRandom(31);
	struct Case { int type, L; double het, miss; bool oneWindow; double scale = 1.0, alt = 0.35; bool twins = false; double ee = 0.0; int K = 0; };
	const Case cases[] = {
		{ 1, 40, 0.0, 0.1, false }, { 2, 40, 0.2, 0.1, false }, { 2, 30, 0.3, 0.0, false },
		{ 1, 130, 0.0, 0.02, true }, { 2, 130, 0.02, 0.01, true },
		{ 3, 30, 0.2, 0.05, false }, { 4, 30, 0.15, 0.05, false }, { 4, 120, 0.01, 0.005, true },
		{ 2, 130, 0.02, 0.0, true, 1e-4 }, { 4, 130, 0.01, 0.0, true, 1e-4 },
		{ 1, 130, 0.0, 0.02, true, 1.0, 0.03 }, { 2, 130, 0.02, 0.01, true, 1.0, 0.03 }, { 3, 60, 0.05, 0.02, false, 1.0, 0.03 },
		{ 2, 40, 0.2, 0.1, false, 1.0, 0.35, true }, { 4, 30, 0.15, 0.05, false, 1.0, 0.35, true }, { 2, 130, 0.02, 0.02, true, 1.0, 0.1, true },
		{ 2, 60, 0.15, 0.0, false, 1.0, 0.35, false, 1e-12 }, { 4, 40, 0.1, 0.0, false, 1.0, 0.35, false, 1e-12 },
		{ 2, 40, 0.2, 0.1, false, 1.0, 0.35, false, 0.0, 37 }, { 2, 60, 0.1, 0.02, true, 1.0, 0.1, false, 0.0, 100 }, { 4, 30, 0.15, 0.05, false, 1.0, 0.35, false, 0.0, 24 },
	};
	for (const Case & c : cases) for (int rep = 0 ; rep < 3 ; rep ++) {
		Scene x(c.type, c.L, c.het, c.miss, c.oneWindow, c.alt);
		std::vector < chaplotype > & H = x.GH.vecH;
		if (c.twins) {
			H[1] = H[2] = H[0], H[7] = H[6], H[11] = H[10];
			H[11].set(c.L - 1, !H[10].get(c.L - 1));
			for (auto & set : x.cond) for (int k : { 0, 1, 2, 6, 7, 10, 11 }) if (std::find(set.begin(), set.end(), k) == set.end()) set.push_back(k);
		}
		for (auto & set : x.cond) { const size_t n = set.size(); for (size_t i = 0 ; (int)set.size() < c.K ; i ++) set.push_back(set[i % n]); }
		if (c.ee > 0.0) x.M.ee = x.M.eeN = c.ee;
		hmm_parameters scaled = x.M;
		for (double * e : { &scaled.ed, &scaled.ee, &scaled.edN, &scaled.eeN }) *e *= c.scale;
		const std::string what = "type " + std::to_string(c.type) + " L " + std::to_string(c.L) + " rep " + std::to_string(rep);
		haplotype_segment HS(x.GH, H, false);
		HS.windows(x.cond, x.segStart, x.segStop, x.start, x.stop);
		std::vector < matrices > prob, ref;
		for (int j = 0 ; j < x.tracks() ; j ++) {
			prob.push_back(x.expect(HS, scaled, j)), ref.push_back(x.reference(j));
			x.compare(prob[j], ref[j], 1e-4, 0.0, what + " track " + std::to_string(j));
		}
		genotype_graph fromModel = *x.G, exact = *x.G;
		ASSERT_EQ(c.type < 3 ? fromModel.store(prob[0]) : fromModel.store(prob), c.type < 3 ? exact.store(ref[0]) : exact.store(ref)) << what;
		for (unsigned int t = 0 ; t < exact.probs.size() ; t ++) ASSERT_NEAR(fromModel.probs[t], exact.probs[t], 1e-3) << what << " transition " << t;
	}
}

// Underflow (segment model) and NaN (graph model) name form, unit, window or block, segment.
TEST(haplotype_segment, UnderflowAndNanTexts) {
	putils::initRandom(5);
	Scene x(2, 40, 0.2, 0.0, true);
	x.G->name = "U7";
	x.G->index = 7;
	haplotype_segment HS(x.GH, x.GH.vecH, false);
	HS.windows(x.cond, x.segStart, x.segStop, x.start, x.stop);
	std::vector < int > all(x.GH.vecH.size());
	std::iota(all.begin(), all.end(), 0);
	haplotype_graph Hg(x.GH.vecH, all, 100);
	const hmm_parameters kept = x.M;
	auto text = [&](bool graph, bool masked) -> std::string {
		try { graph ? x.expect(Hg, x.M, 0, masked) : x.expect(HS, x.M, 0, masked); } catch (std::exception & e) { return e.what(); }
		return "no exception";
	};
	ASSERT_EQ(text(false, false), "no exception");
	x.M.ed = x.M.ee = x.M.edN = x.M.eeN = 1e-200;
	EXPECT_EQ(text(false, false), "Underflow in expectationUNR / i=U7 s=0 b=1 sp=0.0000000000");
	x.M = kept;
	x.M.nrec[x.G->HapsS[0] - 1] = std::nan("");
	EXPECT_EQ(text(true, true), "Nan in expectationPED / i=7 b=0 sp=1");
}
