#include "objects/genotype_graph_test_utils.h"
#include "utils/myException.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <numeric>
#include <set>

using graphtest::MEMBERS;
using graphtest::Unit;

namespace {

typedef std::vector < std::vector < double > > matrix;
typedef std::vector < matrix > tables;

// Per group, cells drawn in (0, 1], or all equal to `fixed` (NaN included).
tables random(const Unit & u, double fixed = -1.0) {
	tables t(u.g.probsC.size(), matrix(8, std::vector < double > (8)));
	for (matrix & m : t) for (auto & row : m) for (double & x : row) x = fixed >= 0.0 || std::isnan(fixed) ? fixed : 1.0 - putils::getRandom();
	return t;
}

std::vector < tables > randomT(const Unit & u, double fixed = -1.0) {
	std::vector < tables > t;
	for (int j = 0 ; j < u.g.type ; j ++) t.push_back(random(u, fixed));
	return t;
}

// The direction that the walk after initRandom of the i-th seed takes: backward unless
// below 0.5. The seeds lie far apart, so that first draws of consecutive runs are unrelated.
bool backwardAt(int i) {
	const long seed = 1 + (long)((i + 1) * 2654435761UL % 2147483000UL);
	putils::initRandom(seed);
	bool backward = !(putils::getRandom() < 0.5);
	putils::initRandom(seed);
	return backward;
}

std::string message(const std::function < void () > & f) {
	try { f(); } catch (myException & e) { return std::string(e.what()); }
	return "none";
}

}

// Over many draws from fixed weights, each direction of the walk gives every path as often as
// its chance under that direction; both directions occur and (but for uniform draws over full
// products of states) differ. Weights: plain matrices times emission weights, per-track
// matrices summed, probs, or nothing.
TEST(genotype_graph_probs, SampledPathsFollowTheWeights) {
	putils::initRandom(2024);
	// A haploid unit of three then one missing site (16 paths), and a duo of a heterozygous
	// parent and child at 5 sites (32 paths).
	std::vector < bool > zero(5, false), miss = { 1, 1, 0, 1, 1 }, one(5, true);
	Unit hap(genotype_graph(1, 0), { { -1, -1, 0, -1, -1 } }), duo(genotype_graph(3, 0), { { 1, 1, 1, 1, 1 }, { 1, 1, 1, 1, 1 } });
	hap.g.buildHap(zero, miss);
	duo.g.buildDuo(one, zero, zero, zero, one, zero);
	tables prob = random(hap);
	std::vector < tables > probT = randomT(duo);
	std::vector < float > likes(hap.g.probs.size());
	for (float & l : likes) l = 0.05 + putils::getRandom();
	for (float & p : hap.g.probs) p = pow(putils::getRandom(), 2);
	struct Case { double gap; Unit * u; std::function < double (int, int) > W; std::function < void (std::vector < chaplotype > &) > draw; } cases[] = {
		{ 0.02, &hap, [&](int k, int t) { int i = hap.g.probsI[k] + t; return hap.g.computeProbLD(i, prob[k], false) * likes[i]; },
			[&](std::vector < chaplotype > & H) { hap.g.likes = likes; EXPECT_EQ(hap.g.sample(H, hap.idx, prob, false), 0); hap.g.likes.clear(); } },
		{ 0.02, &duo, [&](int k, int t) { std::vector < matrix > m = { probT[0][k], probT[1][k], probT[2][k] }; return duo.g.computeProbLD((duo.g.probsI[k] + t) * 3, m, true); },
			[&](std::vector < chaplotype > & H) { EXPECT_EQ(duo.g.sample(H, duo.idx, probT, true), 0); } },
		{ 0.02, &hap, [&](int k, int t) { return (double)hap.g.probs[hap.g.probsI[k] + t]; }, [&](std::vector < chaplotype > & H) { hap.g.sample(H, hap.idx, false); } },
		{ 0.0, &duo, [](int, int) { return 1.0; }, [&](std::vector < chaplotype > & H) { duo.g.sample(H, duo.idx, true); } },
	};
	for (Case & c : cases) {
		std::map < std::string, double > expected[2];
		graphtest::allPaths(c.u->g, [&](std::vector < int > & path) { for (int d = 0 ; d < 2 ; d ++) expected[d][c.u->spell(path)] += graphtest::walkChance(c.u->g, path, d, c.W); });
		double gap = 0.0;
		for (auto & e : expected[0]) gap = std::max(gap, fabs(e.second - expected[1][e.first]));
		EXPECT_GE(gap, c.gap);
		std::map < std::string, int > seen[2];
		std::vector < chaplotype > H(c.u->g.type, chaplotype(5));
		for (int i = 0 ; i < 12000 ; i ++) {
			bool d = backwardAt(i);
			c.draw(H);
			ASSERT_EQ(c.u->mismatch(H), "");
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
}

// On small random units of every kind: each draw and each path spells the genotypes, and
// the paths of an ordered unit spell every allowed combination once; products of tiny cells
// fall back to sums in every group (a haploid's single cell does not underflow); storing adds
// one normalised posterior per group and call, the pair of different fragments of an
// unordered unit counting twice. Maximize spells the path of the largest
// product of probs (on ordered kinds, where a path spells one set of tracks, the first of
// exactly equal paths); forward, backward and expectation give each transition its share of
// the total product of all paths through it; the phase confidence of each member of an
// ordered unit is the share of the paths, weighed by their conditional probabilities, that
// give it the written pairs at consecutive heterozygous sites.
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
		// Equal tiny cells: an unordered pair's transition gets 2 shares where its fragments differ.
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
		double best = -1.0, total = 0.0, paths = 0, combinations = 1;
		std::string bestSpelled;
		std::set < std::string > spelled;
		std::vector < double > share(g.probs.size(), 0.0);
		graphtest::allPaths(g, [&](std::vector < int > & path) {
			double x = 1.0;
			for (int k = 0 ; k < G ; k ++) x *= g.probs[g.probsI[k] + path[k]];
			for (int k = 0 ; k < G ; k ++) share[g.probsI[k] + path[k]] += x;
			total += x;
			g.buildGuesses(H, u.idx, path);
			EXPECT_EQ(u.mismatch(H), "");
			spelled.insert(Unit::text(H));
			paths ++;
			if (x > best && ordered) bestSpelled = Unit::text(H);
			best = std::max(best, x);
		});
		// Ordered, the paths spell distinct tracks, as many as the allele combinations that the
		// genotypes (and the scaffold) allow site by site.
		for (int l = 0 ; l < L ; l ++) {
			int n = 0;
			for (int c = 0 ; c < (1 << type) ; c ++) {
				auto v = [&](int j) { return (c >> j) & 1; };
				bool ok = !g.scaffolded || !u.A[9][l] || u.geno[0][l] < 0 || (v(0) == u.A[0][l] && v(1) == u.A[1][l]);
				for (unsigned int m = 0 ; m < u.geno.size() ; m ++) ok = ok && (u.geno[m][l] < 0 || v(MEMBERS[type][m].first) + v(MEMBERS[type][m].second) == u.geno[m][l]);
				n += ok;
			}
			combinations *= n;
		}
		EXPECT_TRUE(!ordered || (spelled.size() == paths && paths == combinations)) << paths << " " << spelled.size() << " " << combinations;
		g.maximize(H, u.idx);
		EXPECT_EQ(u.mismatch(H), "");
		EXPECT_EQ(ordered ? Unit::text(H) : "", bestSpelled);
		genotype_graph c = g;
		c.join2cond();
		for (const std::pair < int, int > & m : ordered ? MEMBERS[type] : MEMBERS[0]) {
			std::vector < int > s;
			std::vector < unsigned char > alleles;
			for (int l = 0 ; l < L ; l ++) if (H[m.first][l] != H[m.second][l]) s.push_back(l), alleles.push_back(H[m.first][l] | H[m.second][l] << 1);
			std::vector < double > pp, agree(s.size() + 1, 0.0);
			g.phaseConfidence(m.first, m.second, s, alleles, pp);
			ASSERT_EQ(pp.size() + 1, std::max(s.size(), (size_t)1));
			graphtest::allPaths(g, [&](std::vector < int > & path) {
				std::vector < chaplotype > P(type, chaplotype(L));
				g.buildGuesses(P, u.idx, path);
				double x = 1.0;
				for (int k = 0 ; k < G ; k ++) x *= c.probs[c.probsI[k] + path[k]];
				auto het = [&](int l) { return P[m.first][l] != P[m.second][l]; };
				agree[s.size()] += x;
				for (unsigned int k = 1 ; k < s.size() ; k ++) agree[k - 1] += x * (het(s[k - 1]) && het(s[k]) && (P[m.first][s[k - 1]] != P[m.first][s[k]]) == (H[m.first][s[k - 1]] != H[m.first][s[k]]));
			});
			for (unsigned int k = 0 ; k < pp.size() ; k ++) ASSERT_NEAR(pp[k], agree[k] / agree[s.size()], 1e-5) << k;
		}
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
	const std::string last = std::to_string(u.g.probsC.size() - 1);
	EXPECT_EQ(message([&] { u.g.store(zeros); }), "Underflow in storeUNR / i=u7 b=0 p=0.0000000000");
	EXPECT_EQ(message([&] { d.g.store(nan); }).find("NaN in storePED / i=d1 b=0 p="), 0u);
	for (int i = 0 ; i < 6 ; i ++) {
		bool backward = backwardAt(i);
		EXPECT_EQ(message([&] { u.g.sample(H, u.idx, zeros, true); }), backward ? "Underflow in samplingUnrB / i=u7 b=" + last + " sp=0.0000000000" : "Underflow in samplingUnrF / i=u7 b=0 sp=0.0000000000");
		backward = backwardAt(i);
		EXPECT_EQ(message([&] { d.g.sample(H, d.idx, nan, false); }).find(backward ? "NaN in samplingPedB / i=d1 b=" : "NaN in samplingPedF / i=d1 b=0 sp="), 0u);
	}
}

// An unordered pair over four one-site segments, the third homozygous: the second group
// holds "00/11" (0.8) and, written the other way round, "01/10" (0.2); through the
// homozygous segment either relative phase is as likely. Ordered, the crossed one is cut off.
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

// Emission weights: per transition the product of the likelihoods of the genotypes that its
// fragments spell at the missing sites on both sides, normalised per group; a likelihood of 0
// only removes its own transitions; no missing site gives uniform weights; probs ends at 0.
TEST(genotype_graph_probs, LikelihoodEmissions) {
	putils::initRandom(8);
	for (int i = 0 ; i < 26 ; i ++) {
		int type = 1 + i % 4, L = i < 24 ? 10 : 1;
		Unit u(type, false, L, i < 4 ? 0.0 : i < 24 ? 0.3 : 1.0);
		std::vector < std::vector < float > > gl(MEMBERS[type].size(), std::vector < float > (3 * L));
		for (auto & v : gl) for (float & x : v) x = i < 24 ? 0.02 + putils::getRandom() : 0.25 * (&x - v.data());
		std::vector < double > expected(u.g.probs.size(), 1.0);
		std::vector < int > first(1, 0);
		for (unsigned int s = 0 ; s < u.g.HapsS.size() ; s ++) first.push_back(first.back() + u.g.HapsS[s]);
		const int G = u.g.probsC.size();
		for (int k = 0 ; k < G ; k ++) for (unsigned int t = u.g.probsI[k] ; t < u.g.probsI[k] + u.g.probsC[k] ; t ++)
			for (int side = 0, s = k - 1 ; side < 2 ; side ++, s ++) for (int l = s < 0 || s == G - 1 ? 0 : first[s] ; l < (s < 0 || s == G - 1 ? 0 : first[s + 1]) ; l ++)
				for (unsigned int m = 0 ; m < gl.size() && u.g.Miss[l] ; m ++) {
					auto allele = [&](int track) { return u.g.getA(s, (u.g.trans[t * type + track] >> (4 * side)) & 15, l - first[s]); };
					expected[t] *= gl[m][3 * l + allele(MEMBERS[type][m].first) + allele(MEMBERS[type][m].second)];
				}
		if (type == 1) u.g.computeLikesFromGLsHap(gl[0]);
		else if (type == 2) u.g.computeLikesFromGLsUnr(gl[0]);
		else if (type == 3) u.g.computeLikesFromGLsDuo(gl[0], gl[1]);
		else u.g.computeLikesFromGLsTri(gl[0], gl[1], gl[2]);
		for (int k = 0 ; k < G ; k ++) {
			double sum = std::accumulate(expected.begin() + u.g.probsI[k], expected.begin() + u.g.probsI[k] + u.g.probsC[k], 0.0);
			for (unsigned int t = u.g.probsI[k] ; t < u.g.probsI[k] + u.g.probsC[k] ; t ++) {
				ASSERT_NEAR(u.g.likes[t], expected[t] / sum, 1e-4 * (1 + expected[t] / sum)) << i << " " << t;
				EXPECT_TRUE(i >= 4 || u.g.likes[t] == (float)(1.0 / u.g.probsC[k]));
				EXPECT_TRUE(i < 24 || ((u.g.likes[t] == 0.0f) == (expected[t] == 0.0)));
			}
		}
		EXPECT_EQ(u.g.probs, std::vector < float > (u.g.probs.size(), 0.0f));
	}
	// A trio whose father and child are called homozygous for different alleles where the
	// mother is missing: the site is open and its likelihoods rule out every transition of
	// both groups, which keep equal weights.
	std::vector < bool > no(1, false), yes(1, true);
	genotype_graph g(4, 0);
	g.buildTrio(no, no, no, no, no, yes, yes, yes, no);
	std::vector < float > father = { 1, 0, 0 }, mother = { 0.2f, 0.5f, 0.3f }, child = { 0, 0, 1 };
	g.computeLikesFromGLsTri(father, mother, child);
	ASSERT_EQ(g.probsC.size(), 2u);
	for (unsigned int k = 0 ; k < 2 ; k ++) for (unsigned int t = g.probsI[k] ; t < g.probsI[k] + g.probsC[k] ; t ++)
		EXPECT_FLOAT_EQ(g.likes[t], 1.0f / g.probsC[k]) << k << " " << t;
}
