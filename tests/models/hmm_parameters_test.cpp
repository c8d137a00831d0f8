#include "models/hmm_parameters.h"
#include "objects/snp_set.h"

#include <cmath>
#include <gtest/gtest.h>

// Three sites, the last two at one position: bp 100, 200, 200 and cM 0.0, 0.5, 0.5.
TEST(hmm_parameters, ValuesOnThreeSitesComputedByHand) {
	snp_set S;
	for (int l = 0 ; l < 3 ; l ++) {
		S.put(new snp("1", l ? 200 : 100, "A", "C", 0));
		S.getByIndex(l)->cm = l ? 0.5 : 0.0;
	}
	hmm_parameters M, P;
	M.initialise(S, 1000);
	P.initialise(S, 0.0004);
	// One genetic position: never a zero distance.
	EXPECT_EQ(M.t, std::vector < double > ({ 20.0, 1e-05 }));
	EXPECT_EQ(P.t, std::vector < double > ({ 0.04, 1e-05 }));
	// K = 4: harmonic sum 1 + 1/2, theta = 2/3, mismatch 1/14, match 13/14.
	M.update(4, 2, 4);
	const double e5 = exp(-5.0), got[] = { M.nrec[0], M.rec[0], M.recN[0], M.ee, M.ed, M.edN, M.eeN }, want[] = { e5, 1 - e5, (1 - e5) / 2, 1.0 / 14, 13.0 / 14, 13.0 / 28, 1.0 / 28 };
	for (int i = 0 ; i < 7 ; i ++) EXPECT_DOUBLE_EQ(got[i], want[i]) << i;
	EXPECT_GT(M.rec[1], 0.0);
	for (int K : { 3, 10, 1000 }) {
		M.update(K, 7, K);
		EXPECT_NEAR(M.ed + M.ee, 1.0, 1e-12) << K;
	}
	// Mismatches of 4 copied haplotypes, recombination among 1000.
	M.update(1000, 2, 4);
	EXPECT_DOUBLE_EQ(M.ee, 1.0 / 14);
	EXPECT_DOUBLE_EQ(M.nrec[0], exp(-0.02));
	// Given switch probabilities replace the recombination terms and are reset; emissions stay.
	std::vector < double > r = { 0.0, 0.3 };
	M.update(r, 2);
	const double after[] = { M.rec[0], M.nrec[1], M.recN[1] }, expected[] = { 1e-05, 0.7, 0.15 };
	for (int i = 0 ; i < 3 ; i ++) EXPECT_DOUBLE_EQ(after[i], expected[i]) << i;
	EXPECT_EQ(r, std::vector < double > ({ 0.0, 0.0 }));
	EXPECT_NEAR(M.ed + M.ee, 1.0, 1e-12);
}
