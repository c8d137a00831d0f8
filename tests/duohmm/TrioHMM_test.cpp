#include "duohmm/hmm_utils.h"
#include "duohmm/geneticMap.h"
#include "duohmm/TrioHMM.h"
#include "duohmm_test_utils.h"

#include <gtest/gtest.h>

namespace {

const std::vector < int > positions = { 1000000, 9000000, 21000000, 21000000, 31000000 };

bool match(const TrioHMM & M, int j, int l) {
	int d = M.dadptr[j >> 2].get(l), m = M.mumptr[(j >> 1) & 1].get(l);
	int c0 = M.childptr[0].get(l), c1 = M.childptr[1].get(l);
	return (j & 1) ? c1 == d && c0 == m : c0 == d && c1 == m;
}

double emission(const TrioHMM & M, int j, int l) {
	return match(M, j, l) ? 1 - M.genotype_error : M.genotype_error;
}

double factor(double r, double s, bool same) {
	return same ? (1 - r) * (1 - s) + s * r : (1 - s) * r + (1 - r) * s;
}

double transition(const TrioHMM & M, int i, int j, int l) {
	return factor(M.recomb_male[l], M.switch_dad, (i >> 2) == (j >> 2))
		* factor(M.recomb_female[l], M.switch_mum, ((i >> 1) & 1) == ((j >> 1) & 1))
		* ((i & 1) == (j & 1) ? 1 - M.switch_child : M.switch_child);
}

}

// Forward-backward, the M step and Viterbi against a sum over all 8^5 state paths. xi takes
// the emission of the source state at the later site: the enumeration weighs each path by
// E(i, l + 1) / E(j, l + 1) to match.
TEST(TrioHMM, ForwardBackwardMatchesEnumeration) {
	struct Case { std::string f0, f1, m0, m1, c0, c1; float e, sd, sm, t; };
	const Case cases[] = {
		{ "01011", "11001", "00110", "10111", "01010", "10110", 0.005f, 0.005f, 0.005f, 0.005f },
		{ "01011", "11001", "00110", "10111", "11011", "00011", 0.05f, 0.02f, 0.1f, 0.03f },
		{ "00100", "11101", "01100", "01101", "11100", "01001", 0.2f, 0.01f, 0.3f, 0.1f },
	};
	geneticMap map;
	TrioHMM M(positions, map);
	const int K = positions.size();
	for (const Case & c : cases) {
		std::vector < chaplotype > F = pairOf(c.f0, c.f1), Mo = pairOf(c.m0, c.m1), C = pairOf(c.c0, c.c1);
		M.setHaps(F.data(), Mo.data(), C.data());
		EXPECT_EQ(M.genotype_error, 0.005f);
		M.genotype_error = c.e;
		M.switch_dad = c.sd;
		M.switch_mum = c.sm;
		M.switch_child = c.t;
		M.viterbi();
		std::vector < unsigned char > path = M.stateseq;
		enumeration x = enumerate(8, K,
			[&](int j, int l) { return emission(M, j, l); },
			[&](int i, int j, int l) { return transition(M, i, j, l); },
			[&](int i, int j, int l) { return emission(M, i, l + 1) / emission(M, j, l + 1); });
		for (int l = 0 ; l < K ; l ++) EXPECT_EQ(path[l], x.best[l]) << c.c0 << " site " << l;
		M.estep();
		EXPECT_EQ(M.scale[0], 1.0f);
		double likelihood = 1;
		for (int l = 0 ; l < K ; l ++) likelihood /= M.scale[l];
		EXPECT_NEAR(likelihood / x.likelihood, 1.0, 1e-4) << c.c0;
		double n[3] = { 0, 0, 0 }, errors = 0;
		for (int l = 0 ; l < K ; l ++) for (int i = 0 ; i < 8 ; i ++) {
			EXPECT_NEAR(M.gamma[l * 8 + i], x.gamma[l][i], 1e-5) << c.c0 << " site " << l << " state " << i;
			if (!match(M, i, l)) errors += x.gamma[l][i];
			if (l + 1 == K) continue;
			for (int j = 0 ; j < 8 ; j ++) {
				EXPECT_NEAR(M.xi[l * 64 + i * 8 + j], x.xi[l][i * 8 + j], 1e-5) << c.c0 << " site " << l;
				for (int b = 0 ; b < 3 ; b ++) if (((i ^ j) >> (2 - b)) & 1) n[b] += x.xi[l][i * 8 + j];
			}
		}
		M.mstep();
		EXPECT_NEAR(M.switch_dad, std::max(0.0, (n[0] - M.male_length) / (K - 2 * M.male_length)), 1e-5) << c.c0;
		EXPECT_NEAR(M.switch_mum, std::max(0.0, (n[1] - M.female_length) / (K - 2 * M.female_length)), 1e-5) << c.c0;
		EXPECT_NEAR(M.switch_child, n[2] / K, 1e-5) << c.c0;
		EXPECT_NEAR(M.genotype_error, errors / K, 1e-5) << c.c0;
	}
}

// A perfect trio, oriented as after phasing (paternal haplotype first), keeps a genotyping
// error above 0 and tiny; its path follows the transmission; a homozygous father has no
// recombination to report while the mother's crossover is found.
TEST(TrioHMM, PerfectTrio) {
	const int K = 200;
	std::vector < int > pos;
	std::string f0, f1, m0, m1, c0, c1;
	unsigned int seed = 3;
	auto bit = [&]() { seed = seed * 1103515245u + 12345u; return (seed >> 16) & 1 ? '1' : '0'; };
	for (int l = 0 ; l < K ; l ++) {
		pos.push_back(1000000 + 150000 * l);
		f0 += bit();
		m0 += bit();
		m1 += bit();
		c0 += f0[l];
		c1 += l < 120 ? m0[l] : m1[l];
	}
	f1 = f0;
	geneticMap map;
	TrioHMM M(pos, map);
	std::vector < chaplotype > F = pairOf(f0, f1), Mo = pairOf(m0, m1), C = pairOf(c0, c1);
	M.setHaps(F.data(), Mo.data(), C.data());
	M.estimateRecombination();
	EXPECT_GT(M.genotype_error, 0.0f);
	EXPECT_LT(M.genotype_error, 1e-4f);
	double mum = 0;
	for (int l = 0 ; l < K ; l ++) {
		EXPECT_EQ(M.recombination_dad[l], 0.0f);
		if (m0[l] != m1[l]) mum += M.recombination_mum[l];
	}
	EXPECT_GT(mum, 0.4);
	EXPECT_LT(mum, 1.2);
	M.EM(10);
	M.viterbi();
	for (int l = 0 ; l < K ; l ++) if (m0[l] != m1[l]) {
		EXPECT_EQ(M.stateseq[l] & 1, 0) << l;
		EXPECT_EQ((M.stateseq[l] >> 1) & 1, l < 120 ? 0 : 1) << l;
	}
}

TEST(TrioHMM, Helpers) {
	// Allele counts of child, father, mother; symmetric in the parents.
	const int consistent[][3] = { { 0, 0, 0 }, { 1, 0, 2 }, { 0, 0, 1 }, { 1, 1, 0 }, { 2, 1, 1 }, { 0, 1, 1 }, { 2, 1, 2 }, { 2, 2, 2 } };
	const int inconsistent[][3] = { { 1, 0, 0 }, { 2, 0, 2 }, { 0, 2, 1 }, { 2, 0, 1 }, { 0, 0, 2 }, { 0, 2, 2 }, { 1, 2, 2 } };
	for (auto & c : consistent) EXPECT_TRUE(is_mendel_consistent(c[0], c[1], c[2]) && is_mendel_consistent(c[0], c[2], c[1])) << c[0] << c[1] << c[2];
	for (auto & c : inconsistent) EXPECT_FALSE(is_mendel_consistent(c[0], c[1], c[2]) || is_mendel_consistent(c[0], c[2], c[1])) << c[0] << c[1] << c[2];
	EXPECT_EQ(argmax({ 1, 3, 3, 2 }), 1);
	EXPECT_EQ(argmax({ }), 0);
}
