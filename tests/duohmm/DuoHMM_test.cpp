#include "duohmm/DuoHMM.h"
#include "duohmm/geneticMap.h"
#include "duohmm_test_utils.h"

#include <gtest/gtest.h>

namespace {

// Sites 8 to 12 Mb apart on the uniform 1.19 cM/Mb map, so that recombination matters; the
// fourth shares the third's position.
const std::vector < int > positions = { 1000000, 9000000, 21000000, 21000000, 31000000, 40000000 };

double emission(const DuoHMM & M, int j, int l) {
	return M.parental_haplotypes[j >> 1].get(l) == M.child_haplotypes[j & 1].get(l) ? 1 - M.genotype_error : M.genotype_error;
}

double transition(const DuoHMM & M, int i, int j, int l) {
	double r = M.recomb[l], s = M.switch_parent, t = M.switch_child;
	double A = (i >> 1) == (j >> 1) ? (1 - r) * (1 - s) + s * r : (1 - s) * r + (1 - r) * s;
	return A * ((i & 1) == (j & 1) ? 1 - t : t);
}

}

// Forward-backward, xi, the M step and Viterbi against a sum over all 4^6 state paths, for
// fathers and mothers, clean pairs and pairs with mismatches, at several parameter values.
TEST(DuoHMM, ForwardBackwardMatchesEnumeration) {
	struct Case { std::string p0, p1, c0, c1, sex; float e, s, t; };
	const Case cases[] = {
		{ "010110", "110011", "011011", "000101", "1", 0.001f, 0.0005f, 0.0005f },
		{ "010110", "110011", "110110", "101000", "2", 0.05f, 0.02f, 0.1f },
		{ "000100", "111101", "101110", "010101", "1", 0.2f, 0.3f, 0.01f },
		{ "011101", "011101", "011101", "100010", "2", 0.01f, 0.001f, 0.2f },
	};
	geneticMap map;
	DuoHMM M(positions, map);
	const int K = positions.size();
	ASSERT_EQ(M.K, K);
	EXPECT_GT(M.recomb_male[2], 0.0f);	// one position: a tiny fraction, not 0
	EXPECT_LT(M.recomb_male[2], 1e-12f);
	EXPECT_NEAR(M.recomb_female[0], 1 - std::exp(-1.24601316 * 0.0952), 1e-5);
	for (const Case & c : cases) {
		std::vector < chaplotype > P = pairOf(c.p0, c.p1), C = pairOf(c.c0, c.c1);
		M.setHaps(P.data(), C.data(), c.sex);
		EXPECT_EQ(M.rate, c.sex == "1" ? M.male_rate : M.female_rate);
		M.genotype_error = c.e;
		M.switch_parent = c.s;
		M.switch_child = c.t;
		M.viterbi();
		std::vector < unsigned char > path = M.stateseq;
		enumeration x = enumerate(4, K,
			[&](int j, int l) { return emission(M, j, l); },
			[&](int i, int j, int l) { return transition(M, i, j, l); },
			[](int, int, int) { return 1.0; });
		M.estep();
		double likelihood = 1;
		for (int l = 0 ; l < K ; l ++) likelihood /= M.scale[l];
		EXPECT_NEAR(likelihood / x.likelihood, 1.0, 1e-4) << c.c0;
		double n_parent = 0, n_child = 0, errors = 0;
		for (int l = 0 ; l < K ; l ++) for (int j = 0 ; j < 4 ; j ++) {
			EXPECT_NEAR(M.gamma[l * 4 + j], x.gamma[l][j], 1e-5) << c.c0 << " site " << l << " state " << j;
			if (emission(M, j, l) == M.genotype_error) errors += x.gamma[l][j];
			if (l + 1 == K) continue;
			for (int i = 0 ; i < 4 ; i ++) {
				EXPECT_NEAR(M.xi[l * 16 + j * 4 + i], x.xi[l][j * 4 + i], 1e-5) << c.c0 << " site " << l;
				if ((i >> 1) != (j >> 1)) n_parent += x.xi[l][j * 4 + i];
				if ((i & 1) != (j & 1)) n_child += x.xi[l][j * 4 + i];
			}
		}
		float length = M.length;
		M.mstep();
		EXPECT_NEAR(M.switch_parent, std::max(0.0, (n_parent - length) / (K - 2 * length)), 1e-5) << c.c0;
		EXPECT_NEAR(M.switch_child, n_child / K, 1e-5) << c.c0;
		EXPECT_NEAR(M.genotype_error, errors / K, 1e-5) << c.c0;
		for (int l = 0 ; l < K ; l ++) EXPECT_EQ(path[l], x.best[l]) << c.c0 << " site " << l;
	}
}

// EM(0) keeps the defaults of setHaps; one site gives the best initial state, ties going to
// the lowest; a parent homozygous everywhere has no recombination to report.
TEST(DuoHMM, EdgeCases) {
	geneticMap map;
	DuoHMM one(std::vector < int > { 5000000 }, map);
	std::vector < chaplotype > P = pairOf("1", "1"), C = pairOf("0", "1");
	one.setHaps(P.data(), C.data(), "2");
	one.EM(0);
	EXPECT_EQ(one.genotype_error, 0.001f);
	EXPECT_EQ(one.switch_parent, 0.0005f);
	one.EM(3);
	EXPECT_EQ(one.switch_parent, 0.0f);
	EXPECT_EQ(one.switch_child, 0.0f);
	one.viterbi();
	EXPECT_EQ(one.stateseq[0], 1);	// states 1 and 3 match: the lowest wins

	DuoHMM M(positions, map);
	std::vector < chaplotype > H = pairOf("010110", "010110"), K = pairOf("010111", "100010");
	M.setHaps(H.data(), K.data(), "1");
	M.estimateRecombination();
	for (float r : M.recombination_probability) EXPECT_EQ(r, 0.0f);
}

// One crossover in the meiosis of a father over 30 Mb: the recombination probability is
// highest over the interval that holds it, and adds up to about one over the chromosome. A
// lone pair cannot tell one crossover from a switch error of the parent, so EM gives part
// of it to the switch rate: 0.59 here.
TEST(DuoHMM, RecombinationFindsTheCrossover) {
	const int K = 300, cross = 150;
	std::vector < int > pos;
	std::string p0, p1, c0, c1;
	unsigned int seed = 7;
	auto bit = [&]() { seed = seed * 1103515245u + 12345u; return (seed >> 16) & 1 ? '1' : '0'; };
	for (int l = 0 ; l < K ; l ++) {
		pos.push_back(1000000 + 100000 * l);
		p0 += bit();
		p1 += bit();
		c0 += l < cross ? p0[l] : p1[l];
		c1 += bit();
	}
	geneticMap map;
	DuoHMM M(pos, map);
	std::vector < chaplotype > P = pairOf(p0, p1), C = pairOf(c0, c1);
	M.setHaps(P.data(), C.data(), "1");
	M.estimateRecombination();
	double total = 0;
	int at = -1;
	for (int l = 0 ; l < K ; l ++) {
		if (p0[l] == p1[l]) continue;
		total += M.recombination_probability[l];
		if (M.recombination_probability[l] > 0.5) at = l;
	}
	EXPECT_GT(total, 0.4);
	EXPECT_LT(total, 1.2);
	ASSERT_GE(at, 0);
	EXPECT_LT(at, cross);
	for (int l = at + 1 ; l < cross ; l ++) EXPECT_EQ(p0[l], p1[l]);
	M.viterbi();
	for (int l = 0 ; l < K ; l ++) if (p0[l] != p1[l]) {
		EXPECT_EQ(M.stateseq[l] >> 1, l < cross ? 0 : 1) << l;
	}
}
