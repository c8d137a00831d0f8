#include "containers/genhap_set/genhap_set.h"
#include "models/haplotype_segment.h"
#include "models/model_test_utils.h"
#include "utils/myException.h"
#include "utils/putils.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>

using namespace modeltest;

// Random units of every kind against the brute-force copying model: random overlapping
// windows or one window longer than 100 sites (rescaling at 50 and 100), missing data on
// both sides, conditioning sets whose size is not a multiple of 4. Duos and trios run the
// masked form once per track. Without missing data, emissions scaled by 1e-4 scale every
// chain of a window alike and leave the matrices as they were, but over 130 sites only the
// rescaling keeps the lattices above 1e-300.
TEST(haplotype_segment, ExpectationMatchesEnumeratedChains) {
	putils::initRandom(31);
	struct Case { int type, L; double het, miss; bool oneWindow; double scale = 1.0; };
	const Case cases[] = {
		{ 1, 40, 0.0, 0.1, false }, { 2, 40, 0.2, 0.1, false }, { 2, 30, 0.3, 0.0, false },
		{ 1, 130, 0.0, 0.02, true }, { 2, 130, 0.02, 0.01, true },
		{ 3, 30, 0.2, 0.05, false }, { 4, 30, 0.15, 0.05, false }, { 4, 120, 0.01, 0.005, true },
		{ 2, 130, 0.02, 0.0, true, 1e-4 }, { 4, 130, 0.01, 0.0, true, 1e-4 },
	};
	for (const Case & c : cases) for (int rep = 0 ; rep < 3 ; rep ++) {
		Scene x(c.type, c.L, c.het, c.miss, c.oneWindow);
		hmm_parameters scaled = x.M;
		for (double * e : { &scaled.ed, &scaled.ee, &scaled.edN, &scaled.eeN }) *e *= c.scale;
		const int S = x.G->HapsC.size();
		const std::string what = "type " + std::to_string(c.type) + " L " + std::to_string(c.L) + " rep " + std::to_string(rep);
		haplotype_segment HS(x.GH, x.GH.vecH, false);
		HS.windows(x.cond, x.segStart, x.segStop, x.start, x.stop);
		// The plain form is one pass over all pairs; the masked form one pass per track.
		std::vector < mask_set > masks;
		x.G->mask(masks);
		for (int j = 0 ; j < (c.type < 3 ? 1 : c.type) ; j ++) {
			auto links = trackLinks(c.type, masks[j]);
			matrices prob = fresh(S);
			if (c.type < 3) HS.expectation(x.G.get(), scaled, prob);
			else HS.expectation(x.G.get(), scaled, masks[j], prob);
			x.compare(prob, x.reference(links), what + " track " + std::to_string(j));
		}
	}
}

// Emissions of 1e-200 leave nothing at the first boundary, a NaN recombination term
// poisons it; both forms, exact texts.
TEST(haplotype_segment, UnderflowAndNanTexts) {
	putils::initRandom(5);
	Scene x(2, 40, 0.2, 0.0, true);
	x.G->name = "U7";
	std::vector < mask_set > masks;
	x.G->mask(masks);
	haplotype_segment HS(x.GH, x.GH.vecH, false);
	HS.windows(x.cond, x.segStart, x.segStop, x.start, x.stop);
	auto message = [&](bool masked) {
		matrices prob = fresh(x.G->HapsC.size());
		try {
			if (masked) HS.expectation(x.G.get(), x.M, masks[0], prob);
			else HS.expectation(x.G.get(), x.M, prob);
		} catch (myException & e) {
			return std::string(e.what());
		}
		return std::string("no exception");
	};
	ASSERT_EQ(message(false), "no exception");
	const hmm_parameters kept = x.M;
	x.M.ed = x.M.ee = x.M.edN = x.M.eeN = 1e-200;
	EXPECT_EQ(message(false), "Underflow in expectationUNR / i=U7 s=0 b=1 sp=0.0000000000");
	EXPECT_EQ(message(true), "Underflow in expectationPED / i=U7 s=0 b=1 sp=0.0000000000");
	x.M = kept;
	x.M.nrec[x.G->HapsS[0] - 1] = std::nan("");
	EXPECT_EQ(message(false), "Nan in expectationUNR / i=U7 s=0 b=1 sp=nan");
	EXPECT_EQ(message(true), "Nan in expectationPED / i=U7 s=0 b=1 sp=nan");
}
