#include "utils/putils.h"
#include "utils/autils.h"

#include <cmath>
#include <gtest/gtest.h>

// Expected draws computed independently from the minimal standard generator with its
// 32-word shuffle table.
TEST(putils, GeneratorSequenceIsFixedBySeed) {
	// Seed 0 is taken as 1, and re-seeding restarts the sequence.
	const std::pair < int, std::vector < double > > draws[] = { { 1, { 0.41599935685098144, 0.09196489075755929, 0.7564104859514211, 0.5297001933351626 } },
		{ 42, { 0.4719729877412193, 0.5390094013600654 } }, { 0, { 0.41599935685098144 } } };
	for (const auto & seed : draws) {
		putils::initRandom(seed.first);
		for (double x : seed.second) EXPECT_NEAR(putils::getRandom(), x, 1e-15) << seed.first;
	}

	std::vector < double > a, b;
	for (std::vector < double > * v : { &a, &b }) {
		putils::initRandom(7);
		for (int i = 0 ; i < 1000 ; i ++) v->push_back(putils::getRandom());
	}
	EXPECT_EQ(a, b);
	for (double x : a) EXPECT_TRUE(x > 0.0 && x < 1.0) << x;
	putils::initRandom(3);
	for (int i = 0 ; i < 1000 ; i ++) {
		const int k = putils::getRandom(5);
		EXPECT_TRUE(k >= 0 && k < 5) << k;
	}
}

TEST(putils, SampleWalksTheCumulativeMass) {
	putils::initRandom(1);
	std::vector < double > one = { 0.0 };
	EXPECT_EQ(putils::sample(one, 0.0), 0);
	// A zero mass with a zero sum falls through to the last index.
	std::vector < double > zeros = { 0.0, 0.0, 0.0 };
	EXPECT_EQ(putils::sample(zeros, 0.0), 2);
	// All the mass on one element always picks it.
	std::vector < double > spike = { 0.0, 3.0, 0.0, 0.0 };
	for (int i = 0 ; i < 100 ; i ++) EXPECT_EQ(putils::sample(spike, 3.0), 1);
	// First draw of seed 1 is 0.416: with equal masses over 4 elements that is index 1.
	putils::initRandom(1);
	std::vector < double > flat = { 1.0, 1.0, 1.0, 1.0 };
	EXPECT_EQ(putils::sample(flat, 4.0), 1);
	// The single-element case still consumes a draw.
	putils::initRandom(1);
	putils::sample(one, 1.0);
	EXPECT_NEAR(putils::getRandom(), 0.09196489075755929, 1e-15);
}

TEST(putils, NormaliseEntropyDistance) {
	std::vector < double > v = { 1.0, 3.0 };
	putils::normalise(v);
	EXPECT_DOUBLE_EQ(v[0], 0.25);
	EXPECT_DOUBLE_EQ(v[1], 0.75);
	std::vector < double > z = { 0.0, 0.0 };
	putils::normalise(z);
	EXPECT_EQ(z, std::vector < double > ({ 0.0, 0.0 }));

	std::string id = putils::getRandomID();
	EXPECT_EQ(id.size(), 36u);
	EXPECT_NE(id, putils::getRandomID());
}

TEST(autils, MaxAndUniqueSet) {
	EXPECT_EQ(autils::max(std::vector < double > ({ 1.0, 5.0, 5.0, 2.0 })), 1);
	EXPECT_EQ(autils::max(std::vector < double > ()), 0);
	EXPECT_EQ(autils::max(std::vector < int > ({ -3, -1, -2 })), 1);
	std::vector < int > out = { 9 };
	autils::findUniqueSet(std::vector < bool > ({ false, true, true, false, true }), out);
	EXPECT_EQ(out, std::vector < int > ({ 1, 2, 4 }));
}

TEST(autils, MendelTests) {
	// Parent, child, result.
	const int duos[7][5] = { { 0, 0, 1, 1, -1 }, { 1, 1, 0, 0, -1 }, { 0, 1, 1, 1, 1 }, { 1, 0, 0, 0, 1 }, { 0, 1, 0, 1, 0 }, { 0, 0, 0, 1, 0 }, { 1, 1, 1, 0, 0 } };
	for (const auto & c : duos) EXPECT_EQ(autils::checkDuo(c[0], c[1], c[2], c[3]), c[4]) << c[0] << c[1] << c[2] << c[3];
	// Father, mother, child, result.
	const int trios[8][7] = { { 0, 1, 0, 1, 0, 0, 2 }, { 0, 1, 0, 1, 1, 1, 2 }, { 0, 1, 0, 1, 0, 1, 0 }, { 0, 1, 1, 1, 0, 1, 1 },
		{ 0, 1, 1, 1, 1, 1, 1 }, { 0, 0, 0, 0, 0, 1, -1 }, { 0, 0, 1, 1, 1, 1, -1 }, { 0, 0, 1, 1, 0, 1, 0 } };
	for (const auto & c : trios) EXPECT_EQ(autils::checkTrio(c[0], c[1], c[2], c[3], c[4], c[5]), c[6]) << c[0] << c[1] << c[2] << c[3] << c[4] << c[5];
	// Swapping the alleles of any one individual changes nothing.
	for (int g = 0 ; g < 64 ; g ++) {
		int a[6];
		for (int k = 0 ; k < 6 ; k ++) a[k] = (g >> k) & 1;
		int r = autils::checkTrio(a[0], a[1], a[2], a[3], a[4], a[5]);
		EXPECT_EQ(r, autils::checkTrio(a[1], a[0], a[2], a[3], a[4], a[5]));
		EXPECT_EQ(r, autils::checkTrio(a[0], a[1], a[3], a[2], a[4], a[5]));
		EXPECT_EQ(r, autils::checkTrio(a[0], a[1], a[2], a[3], a[5], a[4]));
	}
}

TEST(autils, DecomposeCutsIntoOverlappingPieces) {
	// The pieces of the list 0 .. n - 1, each of at least `length` elements.
	auto pieces = [](int n, int length) {
		std::vector < std::vector < int > > in;
		for (int i = 0 ; i < n ; i ++) in.push_back({ i });
		std::vector < std::vector < std::vector < int > > > out;
		autils::decompose(length, in, out);
		return out;
	};
	std::vector < std::vector < std::vector < int > > > out = pieces(2, 1);
	ASSERT_EQ(out.size(), 1u);
	EXPECT_EQ(out[0], std::vector < std::vector < int > > ({ { 0 }, { 1 } }));
	// Too short for two pieces of the minimal length: one piece.
	EXPECT_EQ(pieces(7, 4).size(), 1u);
	// Longer lists: consecutive pieces share exactly two elements and cover everything.
	putils::initRandom(5);
	out = pieces(60, 5);
	ASSERT_GT(out.size(), 1u);
	EXPECT_EQ(out.front().front()[0], 0);
	EXPECT_EQ(out.back().back()[0], 59);
	for (size_t p = 1 ; p < out.size() ; p ++) {
		ASSERT_GE(out[p - 1].size(), 2u);
		EXPECT_EQ(out[p][0][0], out[p - 1][out[p - 1].size() - 2][0]);
		EXPECT_EQ(out[p][1][0], out[p - 1].back()[0]);
	}
}
