#include "objects/genotype_graph_test_utils.h"
#include "utils/myException.h"

#include <gtest/gtest.h>
#include <map>
#include <numeric>

using graphtest::Unit;

typedef std::vector < std::vector < double > > matrix;
typedef std::vector < matrix > tables;

// Per group, cells drawn in (0, 1], or all equal to `fixed` (NaN included).
static tables random(const Unit & u, double fixed = -1.0) {
	tables t(u.g.probsC.size(), matrix(8, std::vector < double > (8)));
	for (matrix & m : t) for (auto & row : m) for (double & x : row) x = fixed >= 0.0 || std::isnan(fixed) ? fixed : 1.0 - putils::getRandom();
	return t;
}

static std::vector < tables > randomT(const Unit & u, double fixed = -1.0) {
	std::vector < tables > t(u.g.type);
	for (tables & x : t) x = random(u, fixed);
	return t;
}

// Seeds the i-th of far apart seeds and tells whether the walk then goes backward (first draw not below 0.5).
static bool backwardAt(int i) {
	const long seed = 1 + (long)((i + 1) * 2654435761UL % 2147483000UL);
	putils::initRandom(seed);
	bool backward = !(putils::getRandom() < 0.5);
	putils::initRandom(seed);
	return backward;
}

static std::string message(const std::function < void () > & f) {
	try { f(); } catch (myException & e) { return std::string(e.what()); }
	return "none";
}

// Both (different) walk directions draw each path of a haploid unit as often as matrices times emissions say.
TEST(genotype_graph_probs, SampledPathsFollowTheWeights) {
	putils::initRandom(2024);
	std::vector < bool > zero(5, false), miss = { 1, 1, 0, 1, 1 };
	Unit u(genotype_graph(1, 0), { { -1, -1, 0, -1, -1 } });
	u.g.buildHap(zero, miss);
	tables prob = random(u);
	u.g.likes.resize(u.g.probs.size());
	for (float & l : u.g.likes) l = 0.05 + putils::getRandom();
	auto W = [&](int k, int t) { int i = u.g.probsI[k] + t; return u.g.computeProbLD(i, prob[k], false) * u.g.likes[i]; };
	std::map < std::string, double > expected[2];
	graphtest::allPaths(u.g, [&](std::vector < int > & path) { for (int d = 0 ; d < 2 ; d ++) expected[d][u.spell(path)] += graphtest::walkChance(u.g, path, d, W); });
	double gap = 0.0;
	for (auto & e : expected[0]) gap = std::max(gap, fabs(e.second - expected[1][e.first]));
	EXPECT_GE(gap, 0.02);
	std::map < std::string, int > seen[2];
	std::vector < chaplotype > H(1, chaplotype(5));
	for (int i = 0 ; i < 12000 ; i ++) {
		bool d = backwardAt(i);
		ASSERT_EQ(u.g.sample(H, u.idx, prob, false), 0);
		ASSERT_EQ(u.mismatch(H), "");
		seen[d][Unit::text(H)] ++;
	}
	for (int d = 0 ; d < 2 ; d ++) {
		double n = 0;
		for (auto & x : seen[d]) n += x.second;
		ASSERT_GT(n, 4000);
		for (auto & x : seen[d]) EXPECT_TRUE(expected[d].count(x.first)) << x.first;
		for (auto & e : expected[d]) EXPECT_NEAR(seen[d][e.first] / n, e.second, 4.5 * sqrt(e.second * (1 - e.second) / n) + 1e-3) << d << " " << e.first;
	}
}

// Small random units of every kind: draws spell the genotypes; tiny products fall back to sums (not a haploid's);
// storing adds a normalised posterior per group, an unordered pair of different fragments counting twice. Maximize
// spells the largest product (ordered: the first of equals); expectation gives each transition its share of all paths.
TEST(genotype_graph_probs, SamplingStoringMaximizeAndPosteriors) {
	putils::initRandom(11);
	for (int i = 0 ; i < 60 ; i ++) {
		const int type = 1 + i % 4;
		const bool ordered = type != 2 || i % 8 == 1;
		Unit u(type, i % 8 == 1, type > 2 ? 4 : 9, 0.08);
		genotype_graph & g = u.g;
		const int G = g.probsC.size(), L = u.geno[0].size();
		SCOPED_TRACE("unit " + std::to_string(i));
		tables prob = random(u), tiny = random(u, 1e-170);
		std::vector < tables > probT = randomT(u), tinyT = randomT(u, 1e-120);
		std::vector < chaplotype > H(type, chaplotype(L));
		for (int r = 0 ; r < 4 ; r ++) {
			bool additive = r % 2, small = r >= 2;
			EXPECT_EQ(type < 3 ? g.sample(H, u.idx, small ? tiny : prob, additive) : g.sample(H, u.idx, small ? tinyT : probT, additive), small && !additive && type > 1 ? G : 0);
			ASSERT_EQ(u.mismatch(H), "") << r;
		}
		g.reset();
		EXPECT_EQ(type < 3 ? g.store(tiny) : g.store(tinyT), type > 1 ? G : 0);
		for (int k = 0 ; k < G ; k ++) {
			std::vector < double > shares;
			for (unsigned int t = g.probsI[k] ; t < g.probsI[k] + g.probsC[k] ; t ++) shares.push_back(1 + (type == 2 && !g.scaffolded && g.trans[2 * t] != g.trans[2 * t + 1]));
			for (unsigned int t = g.probsI[k] ; t < g.probsI[k] + g.probsC[k] ; t ++) EXPECT_NEAR(g.probs[t], shares[t - g.probsI[k]] / std::accumulate(shares.begin(), shares.end(), 0.0), 1e-6);
		}
		EXPECT_EQ(type < 3 ? g.store(prob) : g.store(probT), 0);
		for (int k = 0 ; k < G ; k ++) EXPECT_NEAR(std::accumulate(g.probs.begin() + g.probsI[k], g.probs.begin() + g.probsI[k] + g.probsC[k], 0.0), 2.0, 1e-5);

		for (float & p : g.probs) p = 0.01 + pow(putils::getRandom(), 2);
		double best = -1.0, total = 0.0;
		std::string bestSpelled;
		std::vector < double > share(g.probs.size(), 0.0);
		graphtest::allPaths(g, [&](std::vector < int > & path) {
			double x = 1.0;
			for (int k = 0 ; k < G ; k ++) x *= g.probs[g.probsI[k] + path[k]];
			for (int k = 0 ; k < G ; k ++) share[g.probsI[k] + path[k]] += x;
			total += x;
			if (x > best && ordered) bestSpelled = u.spell(path);
			best = std::max(best, x);
		});
		g.maximize(H, u.idx);
		EXPECT_EQ(u.mismatch(H), "");
		EXPECT_EQ(ordered ? Unit::text(H) : "", bestSpelled);
		std::vector < std::vector < double > > F, B;
		g.forward(F);
		g.backward(B);
		g.expectation(F, B);
		for (unsigned int t = 0 ; t < share.size() ; t ++) ASSERT_NEAR(g.probs[t], share[t] / total, 1e-5) << t;
		if (!ordered) continue;
		std::fill(g.probs.begin(), g.probs.end(), 0.5f);
		std::vector < int > first(G, 0);
		for (int k = G - 2 ; k >= 0 ; k --)
			while (!g.linked((g.probsI[k] + first[k]) * type, (g.probsI[k + 1] + first[k + 1]) * type)) first[k] ++;
		g.maximize(H, u.idx);
		EXPECT_EQ(Unit::text(H), u.spell(first));
	}
}

// Weights beyond rescue throw with the unit's name, the group (the first of the walk) and the total.
TEST(genotype_graph_probs, UnderflowMessages) {
	putils::initRandom(77);
	Unit u(2, false, 8, 0.3), d(3, false, 12, 0.1);
	u.g.name = "u7";
	d.g.name = "d1";
	tables zeros = random(u, 0.0);
	std::vector < tables > nan = randomT(d, std::nan(""));
	std::vector < chaplotype > H(3, chaplotype(12));
	EXPECT_EQ(message([&] { u.g.store(zeros); }), "Underflow in storeUNR / i=u7 b=0 p=0.0000000000");
	EXPECT_EQ(message([&] { d.g.store(nan); }).find("NaN in storePED / i=d1 b=0 p="), 0u);
	for (int i = 0 ; i < 6 ; i ++) {
		const bool backward = backwardAt(i);
		EXPECT_EQ(message([&] { d.g.sample(H, d.idx, nan, false); }).find(backward ? "NaN in samplingPedB / i=d1 b=" : "NaN in samplingPedF / i=d1 b=0 sp="), 0u);
	}
}

// Group 1 holds "00/11" (0.8) and "01/10" (0.2); across the homozygous segment 2 either phase is as likely.
TEST(genotype_graph_probs, PhaseConfidenceOnAHandGraph) {
	genotype_graph g(2, 0);
	std::vector < std::vector < bool > > het = { { 0 }, { 1 } }, hom = { { 0 } };
	for (auto * s : { &het, &het, &hom, &het }) g.pushHaps(*s);
	for (std::vector < std::vector < int > > t : std::vector < std::vector < std::vector < int > > > { { { 0 }, { 0 }, { 0 }, { 1 } },
		{ { 0, 1 }, { 0, 0 }, { 1, 0 }, { 1, 1 } }, { { 0 }, { 0 }, { 1 }, { 0 } }, { { 0 }, { 0 }, { 0 }, { 1 } }, { { 0 }, { 0 }, { 1 }, { 0 } } }) g.pushTrans(t);
	g.probs = { 1.0f, 0.8f, 0.2f, 1.0f, 1.0f, 1.0f };
	std::vector < double > pp, qq, empty;
	g.phaseConfidence(0, 1, { 0, 1, 3 }, { 2, 2, 1 }, pp);
	g.phaseConfidence(0, 1, { 0, 1, 3 }, { 1, 2, 2 }, qq);
	g.phaseConfidence(0, 1, { 1 }, { 2 }, empty);
	EXPECT_TRUE(fabs(pp[0] - 0.8) + fabs(pp[1] - 0.5) + fabs(qq[0] - 0.2) + fabs(qq[1] - 0.5) < 1e-6 && empty.empty());
	g.scaffolded = true;
	g.phaseConfidence(0, 1, { 0, 1 }, { 2, 1 }, pp);
	EXPECT_NEAR(pp[0], 0.0, 1e-6);
}

// Father and child homozygous for different alleles, mother missing: groups ruled out entirely keep equal weights.
TEST(genotype_graph_probs, LikelihoodEmissions) {
	std::vector < bool > no(1, false), yes(1, true);
	genotype_graph g(4, 0);
	g.buildTrio(no, no, no, no, no, yes, yes, yes, no);
	std::vector < float > father = { 1, 0, 0 }, mother = { 0.2f, 0.5f, 0.3f }, child = { 0, 0, 1 };
	g.computeLikesFromGLsTri(father, mother, child);
	ASSERT_EQ(g.probsC.size(), 2u);
	for (unsigned int k = 0 ; k < 2 ; k ++) for (unsigned int t = g.probsI[k] ; t < g.probsI[k] + g.probsC[k] ; t ++)
		EXPECT_FLOAT_EQ(g.likes[t], 1.0f / g.probsC[k]) << k << " " << t;
}
