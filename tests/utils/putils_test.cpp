#include "utils/putils.h"
#include "utils/autils.h"

#include <gtest/gtest.h>

// Expected draws computed independently from the minimal standard generator with its 32-word shuffle table; seed 0 is taken as 1, re-seeding restarts.
TEST(putils, GeneratorSequenceIsFixedBySeed) {
	const std::pair < int, std::vector < double > > draws[] = { { 1, { 0.41599935685098144, 0.09196489075755929, 0.7564104859514211, 0.5297001933351626 } },
		{ 42, { 0.4719729877412193, 0.5390094013600654 } }, { 0, { 0.41599935685098144 } } };
	for (const auto & seed : draws) {
		putils::initRandom(seed.first);
		for (double x : seed.second) EXPECT_NEAR(putils::getRandom(), x, 1e-15) << seed.first;
	}
	putils::initRandom(3);
	for (int i = 0 ; i < 1000 ; i ++) {
		const double x = putils::getRandom();
		const int k = putils::getRandom(5);
		EXPECT_TRUE(x > 0.0 && x < 1.0 && k >= 0 && k < 5) << x << " " << k;
	}
	// Sampling walks the cumulative mass: seed 1's first draw, 0.416, picks index 1 of four equal masses; a lone mass always wins; a zero sum gives the last.
	putils::initRandom(1);
	std::vector < double > flat = { 1.0, 1.0, 1.0, 1.0 }, spike = { 0.0, 3.0, 0.0, 0.0 }, zeros = { 0.0, 0.0, 0.0 };
	EXPECT_EQ(putils::sample(flat, 4.0), 1);
	for (int i = 0 ; i < 100 ; i ++) EXPECT_EQ(putils::sample(spike, 3.0), 1);
	EXPECT_EQ(putils::sample(zeros, 0.0), 2);
}

// Parent, child, result; father, mother, child, result.
TEST(autils, MendelTests) {
	const int duos[7][5] = { { 0, 0, 1, 1, -1 }, { 1, 1, 0, 0, -1 }, { 0, 1, 1, 1, 1 }, { 1, 0, 0, 0, 1 }, { 0, 1, 0, 1, 0 }, { 0, 0, 0, 1, 0 }, { 1, 1, 1, 0, 0 } };
	for (const auto & c : duos) EXPECT_EQ(autils::checkDuo(c[0], c[1], c[2], c[3]), c[4]) << c[0] << c[1] << c[2] << c[3];
	const int trios[8][7] = { { 0, 1, 0, 1, 0, 0, 2 }, { 0, 1, 0, 1, 1, 1, 2 }, { 0, 1, 0, 1, 0, 1, 0 }, { 0, 1, 1, 1, 0, 1, 1 },
		{ 0, 1, 1, 1, 1, 1, 1 }, { 0, 0, 0, 0, 0, 1, -1 }, { 0, 0, 1, 1, 1, 1, -1 }, { 0, 0, 1, 1, 0, 1, 0 } };
	for (const auto & c : trios) EXPECT_EQ(autils::checkTrio(c[0], c[1], c[2], c[3], c[4], c[5]), c[6]) << c[0] << c[1] << c[2] << c[3] << c[4] << c[5];
}

// Consecutive pieces of at least the given length share exactly two elements and cover the whole list; a list too short for two pieces is one piece.
TEST(autils, DecomposeCutsIntoOverlappingPieces) {
	for (int n : { 7, 60 }) {
		std::vector < std::vector < int > > in;
		for (int i = 0 ; i < n ; i ++) in.push_back({ i });
		std::vector < std::vector < std::vector < int > > > out;
		putils::initRandom(5);
		autils::decompose(n == 7 ? 4 : 5, in, out);
		ASSERT_EQ(out.size() > 1, n == 60);
		EXPECT_EQ(out.front().front()[0], 0);
		EXPECT_EQ(out.back().back()[0], n - 1);
		for (size_t p = 1 ; p < out.size() ; p ++) {
			ASSERT_GE(out[p - 1].size(), 2u);
			EXPECT_EQ(out[p][0][0], out[p - 1][out[p - 1].size() - 2][0]);
			EXPECT_EQ(out[p][1][0], out[p - 1].back()[0]);
		}
	}
}
