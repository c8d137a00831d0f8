#include "objects/genotype_graph.h"
#include "objects/genotype_graph_test_utils.h"
#include "utils/myException.h"
#include "utils/putils.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <map>

namespace {

typedef std::vector < std::vector < double > > matrix;
typedef std::vector < matrix > tables;
typedef std::vector < tables > track_tables;

// Per kind of unit, each member's genotype as the sum of the alleles of two tracks.
const std::vector < std::vector < std::pair < int, int > > > MEMBERS = { {}, { { 0, 0 } }, { { 0, 1 } }, { { 0, 1 }, { 0, 2 } }, { { 0, 1 }, { 2, 3 }, { 0, 3 } } };

// A unit drawn from random tracks, some genotypes missing; geno holds the allele sums
// (-1 where missing), twice the allele for a haploid.
struct Unit {
	genotype_graph g;
	std::vector < std::vector < int > > geno;
	std::vector < int > idx = { 0, 1, 2, 3 };

	Unit(const genotype_graph & graph, const std::vector < std::vector < int > > & geno) : g(graph), geno(geno) {
	}

	Unit(int type, bool scaffold, int L, double miss) : g(type, 0) {
		const auto & M = MEMBERS[type];
		std::vector < std::vector < bool > > A(3 * M.size(), std::vector < bool > (L)), S(1, std::vector < bool > (L));
		geno.assign(M.size(), std::vector < int > (L));
		for (int l = 0 ; l < L ; l ++) {
			int h[4];
			for (int & x : h) x = putils::getRandom() < 0.4;
			for (unsigned int m = 0 ; m < M.size() ; m ++) {
				bool missing = putils::getRandom() < miss;
				A[3 * m][l] = !missing && h[M[m].first];
				A[3 * m + 1][l] = !missing && h[M[m].second];
				A[3 * m + 2][l] = missing;
				geno[m][l] = missing ? -1 : h[M[m].first] + h[M[m].second];
			}
			S[0][l] = putils::getRandom() < 0.5;
		}
		if (type == 1) g.buildHap(A[0], A[2]);
		else if (type == 2 && scaffold) g.buildUnr(A[0], A[1], A[2], S[0]);
		else if (type == 2) g.buildUnr(A[0], A[1], A[2]);
		else if (type == 3) g.buildDuo(A[0], A[1], A[2], A[3], A[4], A[5]);
		else g.buildTrio(A[0], A[1], A[2], A[3], A[4], A[5], A[6], A[7], A[8]);
		EXPECT_EQ(graphtest::fault(g, L), "");
	}

	// "" when the haplotypes add up to every called genotype.
	std::string mismatch(const std::vector < chaplotype > & H) const {
		for (unsigned int m = 0 ; m < geno.size() ; m ++) for (unsigned int l = 0 ; l < geno[m].size() ; l ++) {
			int sum = H[MEMBERS[g.type][m].first][l] + H[MEMBERS[g.type][m].second][l];
			if (geno[m][l] >= 0 && sum != geno[m][l]) return "member " + std::to_string(m) + " site " + std::to_string(l);
		}
		return "";
	}

	// The tracks that a path spells, one string; ordered graphs draw nothing for it.
	std::string spell(std::vector < int > & path) {
		std::vector < chaplotype > H(g.type, chaplotype(geno[0].size()));
		g.buildGuesses(H, idx, path);
		return text(H);
	}

	static std::string text(const std::vector < chaplotype > & H) {
		std::string s;
		for (const chaplotype & h : H) s += h.toString() + "|";
		return s;
	}
};

// Cells drawn in (0, 1], or all equal to `fixed` when it is given (NaN included).
tables randomTables(const genotype_graph & g, double fixed = -1.0) {
	tables t(g.probsC.size(), matrix(8, std::vector < double > (8)));
	for (matrix & m : t) for (auto & row : m) for (double & x : row) x = fixed >= 0.0 || std::isnan(fixed) ? fixed : 1.0 - putils::getRandom();
	return t;
}

track_tables randomTrackTables(const genotype_graph & g, double fixed = -1.0) {
	track_tables t;
	for (int j = 0 ; j < g.type ; j ++) t.push_back(randomTables(g, fixed));
	return t;
}

// Calls f on every path of linked transitions, as indices within their groups.
void allPaths(const genotype_graph & g, const std::function < void (std::vector < int > &) > & f) {
	std::vector < int > path;
	std::function < void (unsigned int) > go = [&](unsigned int k) {
		if (k == g.probsC.size()) return f(path);
		for (unsigned int t = 0 ; t < g.probsC[k] ; t ++) {
			if (k > 0 && !g.linked((g.probsI[k - 1] + path.back()) * g.type, (g.probsI[k] + t) * g.type)) continue;
			path.push_back(t);
			go(k + 1);
			path.pop_back();
		}
	};
	go(0);
}

double countPaths(const genotype_graph & g) {
	std::vector < double > n(g.probsC[0], 1.0);
	for (unsigned int k = 1 ; k < g.probsC.size() ; k ++) {
		std::vector < double > next(g.probsC[k], 0.0);
		for (unsigned int t = 0 ; t < g.probsC[k] ; t ++) for (unsigned int m = 0 ; m < g.probsC[k - 1] ; m ++)
			if (g.linked((g.probsI[k - 1] + m) * g.type, (g.probsI[k] + t) * g.type)) next[t] += n[m];
		n = next;
	}
	double total = 0.0;
	for (double x : n) total += x;
	return total;
}

// Chance that a walk in the given direction draws `path`, each group drawn in proportion to
// W(group, transition) among the transitions linked to the neighbour chosen before it.
double walkChance(const genotype_graph & g, const std::vector < int > & path, bool backward, const std::function < double (int, int) > & W) {
	const int G = g.probsC.size();
	double p = 1.0;
	for (int i = 0 ; i < G ; i ++) {
		int k = backward ? G - 1 - i : i, before = backward ? k + 1 : k - 1;
		double sum = 0.0;
		for (unsigned int t = 0 ; t < g.probsC[k] ; t ++) {
			int pos = (g.probsI[k] + t) * g.type;
			bool fits = before < 0 || before >= G || (backward ? g.linked(pos, (g.probsI[before] + path[before]) * g.type) : g.linked((g.probsI[before] + path[before]) * g.type, pos));
			if (fits) sum += W(k, t);
		}
		p *= W(k, path[k]) / sum;
	}
	return p;
}

long spread(int i) {
	return 1 + (long)((i + 1) * 2654435761UL % 2147483000UL);
}

}

// Weight of one transition: the product (or sum) of the cells that its bytes select, doubled
// for an unordered pair of different fragments; the per-track form never doubles.
TEST(genotype_graph_probs, ComputeProbLDAndTheDoublingRule) {
	matrix m(3, std::vector < double > (3));
	for (int a = 0 ; a < 3 ; a ++) for (int b = 0 ; b < 3 ; b ++) m[a][b] = 1 + 3 * a + b;
	std::vector < matrix > byTrack = { m, m, m };
	for (int j = 0 ; j < 3 ; j ++) for (auto & row : byTrack[j]) for (double & x : row) x *= j + 1;
	// Byte 0x10 reads m[0][1] = 2, 0x21 reads m[1][2] = 6, 0x00 reads m[0][0] = 1.
	struct { int type; bool scaffolded, tracks; std::vector < unsigned char > bytes; double product, sum; } cases[] = {
		{ 1, false, false, { 0x21 }, 6, 6 },
		{ 2, false, false, { 0x10, 0x21 }, 24, 16 },
		{ 2, false, false, { 0x21, 0x21 }, 36, 12 },
		{ 2, true, false, { 0x10, 0x21 }, 12, 8 },
		{ 2, false, true, { 0x10, 0x21 }, 24, 14 },
		{ 3, false, true, { 0x10, 0x21, 0x00 }, 72, 17 },
	};
	for (auto & c : cases) {
		genotype_graph g(c.type, 0);
		g.scaffolded = c.scaffolded;
		g.trans = c.bytes;
		g.trans.insert(g.trans.begin(), c.type, 0x00);
		for (bool additive : { false, true }) {
			double w = c.tracks ? g.computeProbLD(c.type, byTrack, additive) : g.computeProbLD(c.type, m, additive);
			EXPECT_DOUBLE_EQ(w, additive ? c.sum : c.product) << c.type << " " << c.scaffolded << " " << c.tracks << " " << additive;
		}
	}
}

// Over many draws from fixed weights, each direction of the walk gives every path as often as
// its chance under that direction; the two directions differ (but for uniform draws over
// full products of states) and both occur. Weights come
// from plain matrices with emission weights, per-track matrices summed, probs, or nothing.
TEST(genotype_graph_probs, SampledPathsFollowTheWeights) {
	putils::initRandom(2024);
	// A haploid unit of three then one missing site (8 and 2 fragments, 16 paths), and a duo
	// of a heterozygous parent and child at 5 sites (segments of 8 and 4 states, 32 paths).
	std::vector < bool > zero(5, false), miss = { 1, 1, 0, 1, 1 }, one(5, true);
	Unit hap(genotype_graph(1, 0), { { -1, -1, 0, -1, -1 } }), duo(genotype_graph(3, 0), { { 1, 1, 1, 1, 1 }, { 1, 1, 1, 1, 1 } });
	hap.g.buildHap(zero, miss);
	duo.g.buildDuo(one, zero, zero, zero, one, zero);
	tables prob = randomTables(hap.g);
	track_tables probT = randomTrackTables(duo.g);
	for (float & p : hap.g.probs) p = pow(putils::getRandom(), 2);
	std::vector < float > likes(hap.g.probs.size());
	for (float & l : likes) l = 0.05 + putils::getRandom();

	struct Case { const char * name; double gap; Unit * u; std::function < double (int, int) > W; std::function < void (std::vector < chaplotype > &) > draw; };
	Case cases[] = {
		{ "matrix and likes", 0.02, &hap, [&](int k, int t) { int i = hap.g.probsI[k] + t; return hap.g.computeProbLD(i, prob[k], false) * likes[i]; },
			[&](std::vector < chaplotype > & H) { hap.g.likes = likes; EXPECT_EQ(hap.g.sample(H, hap.idx, prob, false), 0); hap.g.likes.clear(); } },
		{ "by track, additive", 0.02, &duo, [&](int k, int t) { std::vector < matrix > m = { probT[0][k], probT[1][k], probT[2][k] }; return duo.g.computeProbLD((duo.g.probsI[k] + t) * 3, m, true); },
			[&](std::vector < chaplotype > & H) { EXPECT_EQ(duo.g.sample(H, duo.idx, probT, true), 0); } },
		{ "probs", 0.02, &hap, [&](int k, int t) { return (double)hap.g.probs[hap.g.probsI[k] + t]; }, [&](std::vector < chaplotype > & H) { hap.g.sample(H, hap.idx, false); } },
		{ "uniform", 0.0, &duo, [](int, int) { return 1.0; }, [&](std::vector < chaplotype > & H) { duo.g.sample(H, duo.idx, true); } },
	};
	const int N = 12000;
	for (Case & c : cases) {
		std::map < std::string, double > expected[2];
		allPaths(c.u->g, [&](std::vector < int > & path) {
			std::string s = c.u->spell(path);
			for (int d = 0 ; d < 2 ; d ++) expected[d][s] += walkChance(c.u->g, path, d, c.W);
		});
		double gap = 0.0;
		for (auto & e : expected[0]) gap = std::max(gap, fabs(e.second - expected[1][e.first]));
		EXPECT_GE(gap, c.gap) << c.name;
		std::map < std::string, int > seen[2];
		int draws[2] = { 0, 0 };
		std::vector < chaplotype > H(c.u->g.type, chaplotype(5));
		for (int i = 0 ; i < N ; i ++) {
			putils::initRandom(spread(i));
			int d = !(putils::getRandom() < 0.5);
			putils::initRandom(spread(i));
			c.draw(H);
			ASSERT_EQ(c.u->mismatch(H), "") << c.name;
			seen[d][Unit::text(H)] ++;
			draws[d] ++;
		}
		for (int d = 0 ; d < 2 ; d ++) {
			ASSERT_GT(draws[d], N / 3) << c.name;
			for (auto & s : seen[d]) EXPECT_TRUE(expected[d].count(s.first)) << c.name << " " << s.first;
			for (auto & e : expected[d]) {
				double f = (double)seen[d][e.first] / draws[d], p = e.second;
				EXPECT_NEAR(f, p, 4.5 * sqrt(p * (1 - p) / draws[d]) + 1e-3) << c.name << " direction " << d << " " << e.first;
			}
		}
	}
}

// On random units of every kind, every draw spells the genotypes; products of tiny cells fall
// back to sums in every group; storing adds one normalised posterior per group and call.
TEST(genotype_graph_probs, SamplingAndStoringOnRandomUnits) {
	putils::initRandom(77);
	for (int i = 0 ; i < 60 ; i ++) {
		int type = 1 + i % 4;
		Unit u(type, i % 8 == 1, 20 + putils::getRandom(40), 0.05);
		const int G = u.g.probsC.size();
		tables prob = randomTables(u.g), tiny = randomTables(u.g, 1e-170);
		track_tables probT = randomTrackTables(u.g), tinyT = randomTrackTables(u.g, 1e-120);
		std::vector < chaplotype > H(type, chaplotype(u.geno[0].size()));
		for (int r = 0 ; r < 4 ; r ++) {
			bool additive = r % 2, small = r >= 2;
			int fallbacks = type < 3 ? u.g.sample(H, u.idx, small ? tiny : prob, additive) : u.g.sample(H, u.idx, small ? tinyT : probT, additive);
			// A product of n tiny cells is below 1e-300 for n > 1; a haploid's single cell is not.
			EXPECT_EQ(fallbacks, small && !additive && type > 1 ? G : 0);
			ASSERT_EQ(u.mismatch(H), "") << i << " " << r;
		}
		u.g.reset();
		int stored = type < 3 ? u.g.store(prob) + u.g.store(tiny) : u.g.store(probT) + u.g.store(tinyT);
		EXPECT_EQ(stored, type > 1 ? G : 0);
		for (int k = 0 ; k < G ; k ++) {
			double sum = 0.0;
			for (unsigned int t = u.g.probsI[k] ; t < u.g.probsI[k] + u.g.probsC[k] ; t ++) sum += u.g.probs[t];
			EXPECT_NEAR(sum, 2.0, 1e-5);
		}
	}
	// Equal tiny cells on an unordered unit of missing sites: the sums leave each transition 1
	// or 2 shares, by whether its two fragments differ.
	std::vector < bool > zero(8, false), miss = { 1, 1, 0, 1, 1, 0, 1, 1 };
	Unit u(genotype_graph(2, 0), { { -1, -1, 0, -1, -1, 0, -1, -1 } });
	u.g.buildUnr(zero, zero, miss);
	tables tiny = randomTables(u.g, 1e-170);
	u.g.reset();
	u.g.store(tiny);
	int mixed = 0;
	for (unsigned int k = 0 ; k < u.g.probsC.size() ; k ++) {
		double shares = 0.0;
		for (unsigned int t = u.g.probsI[k] ; t < u.g.probsI[k] + u.g.probsC[k] ; t ++) shares += 1 + (u.g.trans[2 * t] != u.g.trans[2 * t + 1]);
		mixed += shares != u.g.probsC[k] && shares != 2 * u.g.probsC[k];
		for (unsigned int t = u.g.probsI[k] ; t < u.g.probsI[k] + u.g.probsC[k] ; t ++)
			EXPECT_NEAR(u.g.probs[t], (1 + (u.g.trans[2 * t] != u.g.trans[2 * t + 1])) / shares, 1e-6);
	}
	EXPECT_EQ(mixed, 4);
}

// Weights that no fallback can rescue end in an exception naming the unit, the group and the
// total; the sampler names the direction it walked.
TEST(genotype_graph_probs, UnderflowAndNaNMessages) {
	putils::initRandom(3);
	Unit u(2, false, 12, 0.1), d(3, false, 12, 0.1);
	u.g.name = "u7";
	d.g.name = "d1";
	tables zero = randomTables(u.g, 0.0);
	track_tables nan = randomTrackTables(d.g, std::nan(""));
	std::vector < chaplotype > H(4, chaplotype(12));
	const std::string last = std::to_string(u.g.probsC.size() - 1);
	auto message = [](const std::function < void () > & f) {
		try { f(); } catch (myException & e) { return std::string(e.what()); }
		return std::string("no exception");
	};
	EXPECT_EQ(message([&] { u.g.store(zero); }), "Underflow in storeUNR / i=u7 b=0 p=0.0000000000");
	EXPECT_EQ(message([&] { d.g.store(nan); }).find("NaN in storePED / i=d1 b=0 p="), 0u);
	for (int i = 0 ; i < 6 ; i ++) {
		putils::initRandom(spread(i));
		bool backward = !(putils::getRandom() < 0.5);
		putils::initRandom(spread(i));
		EXPECT_EQ(message([&] { u.g.sample(H, u.idx, zero, true); }), backward ? "Underflow in samplingUnrB / i=u7 b=" + last + " sp=0.0000000000" : "Underflow in samplingUnrF / i=u7 b=0 sp=0.0000000000");
		putils::initRandom(spread(i));
		std::string nanMessage = message([&] { d.g.sample(H, d.idx, nan, false); });
		EXPECT_EQ(nanMessage.find(backward ? "NaN in samplingPedB / i=d1 b=" : "NaN in samplingPedF / i=d1 b=0 sp="), 0u) << nanMessage;
	}
}

// On small random units, maximize spells the path of the largest product of probs (ordered
// kinds, where a path spells one pair of haplotypes), and forward, backward and expectation
// give each transition its share of the total product over all paths through it.
TEST(genotype_graph_probs, MaximizeAndPosteriorsAgainstAllPaths) {
	putils::initRandom(11);
	int checked = 0;
	for (int i = 0 ; i < 50 ; i ++) {
		int type = 1 + i % 4;
		bool scaffold = i % 8 == 1;
		Unit u(type, scaffold, type > 2 ? 5 : 9, 0.08);
		if (countPaths(u.g) > 20000) continue;
		for (float & p : u.g.probs) p = 0.01 + pow(putils::getRandom(), 2);
		double best = -1.0, total = 0.0;
		std::string bestSpelled;
		std::vector < double > share(u.g.probs.size(), 0.0);
		bool ordered = type != 2 || scaffold;
		allPaths(u.g, [&](std::vector < int > & path) {
			double x = 1.0;
			for (unsigned int k = 0 ; k < path.size() ; k ++) x *= u.g.probs[u.g.probsI[k] + path[k]];
			for (unsigned int k = 0 ; k < path.size() ; k ++) share[u.g.probsI[k] + path[k]] += x;
			total += x;
			if (x > best) {
				best = x;
				if (ordered) bestSpelled = u.spell(path);
			}
		});
		std::vector < chaplotype > H(type, chaplotype(u.geno[0].size()));
		u.g.maximize(H, u.idx);
		EXPECT_EQ(u.mismatch(H), "");
		if (ordered) {
			EXPECT_EQ(Unit::text(H), bestSpelled) << i;
		}
		std::vector < std::vector < double > > F, B;
		u.g.forward(F);
		u.g.backward(B);
		u.g.expectation(F, B);
		for (unsigned int t = 0 ; t < share.size() ; t ++) ASSERT_NEAR(u.g.probs[t], share[t] / total, 1e-5) << i << " " << t;
		checked ++;
	}
	EXPECT_GT(checked, 40);
}

// Emission weights: per transition the product of the likelihoods of the genotypes that its
// fragments spell at the missing sites on both sides, normalised per group; probs ends at 0.
TEST(genotype_graph_probs, LikelihoodEmissions) {
	// One missing site: an unrelated unit's states (0,0), (1,1), (0,1) have genotypes 0, 2, 1;
	// a likelihood of 0 only removes its own transition.
	std::vector < bool > z(1, false), m(1, true);
	genotype_graph unr(2, 0), hap(1, 0);
	unr.buildUnr(z, z, m);
	hap.buildHap(z, m);
	std::vector < float > GL = { 0.0f, 0.5f, 0.25f }, GLh = { 0.2f, 0.9f, 0.6f };
	unr.computeLikesFromGLsUnr(GL);
	hap.computeLikesFromGLsHap(GLh);
	const std::vector < float > unrLikes = { 0.0f, 1.0f / 3, 2.0f / 3, 0.0f, 1.0f / 3, 2.0f / 3 }, hapLikes = { 0.25f, 0.75f, 0.25f, 0.75f };
	ASSERT_EQ(unr.likes.size(), unrLikes.size());
	ASSERT_EQ(hap.likes.size(), hapLikes.size());
	for (unsigned int t = 0 ; t < unrLikes.size() ; t ++) EXPECT_NEAR(unr.likes[t], unrLikes[t], 1e-6);
	for (unsigned int t = 0 ; t < hapLikes.size() ; t ++) EXPECT_NEAR(hap.likes[t], hapLikes[t], 1e-6);

	putils::initRandom(8);
	for (int i = 0 ; i < 24 ; i ++) {
		int type = 1 + i % 4, L = 10;
		Unit u(type, false, L, i < 4 ? 0.0 : 0.3);
		std::vector < std::vector < float > > gl(MEMBERS[type].size(), std::vector < float > (3 * L));
		for (auto & v : gl) for (float & x : v) x = 0.02 + putils::getRandom();
		std::vector < double > expected(u.g.probs.size(), 1.0);
		std::vector < int > first(1, 0);
		for (unsigned int s = 0 ; s < u.g.HapsS.size() ; s ++) first.push_back(first.back() + u.g.HapsS[s]);
		const int G = u.g.probsC.size();
		for (int k = 0 ; k < G ; k ++) for (unsigned int t = u.g.probsI[k] ; t < u.g.probsI[k] + u.g.probsC[k] ; t ++)
			for (int side = 0 ; side < 2 ; side ++) {
				int s = k - 1 + side;
				if (s < 0 || s >= G - 1) continue;
				for (int l = first[s] ; l < first[s + 1] ; l ++) {
					if (!u.g.Miss[l]) continue;
					for (unsigned int mb = 0 ; mb < gl.size() ; mb ++) {
						auto pair = MEMBERS[type][mb];
						int a = u.g.getA(s, (u.g.trans[t * type + pair.first] >> (4 * side)) & 15, l - first[s]);
						int b = u.g.getA(s, (u.g.trans[t * type + pair.second] >> (4 * side)) & 15, l - first[s]);
						expected[t] *= gl[mb][3 * l + a + b];
					}
				}
			}
		if (type == 1) u.g.computeLikesFromGLsHap(gl[0]);
		else if (type == 2) u.g.computeLikesFromGLsUnr(gl[0]);
		else if (type == 3) u.g.computeLikesFromGLsDuo(gl[0], gl[1]);
		else u.g.computeLikesFromGLsTri(gl[0], gl[1], gl[2]);
		for (int k = 0 ; k < G ; k ++) {
			double sum = 0.0;
			for (unsigned int t = u.g.probsI[k] ; t < u.g.probsI[k] + u.g.probsC[k] ; t ++) sum += expected[t];
			for (unsigned int t = u.g.probsI[k] ; t < u.g.probsI[k] + u.g.probsC[k] ; t ++) {
				ASSERT_NEAR(u.g.likes[t], expected[t] / sum, 1e-4 * (1 + expected[t] / sum)) << i << " " << t;
				if (i < 4) {
					EXPECT_FLOAT_EQ(u.g.likes[t], 1.0f / u.g.probsC[k]);
				}
			}
		}
		EXPECT_EQ(u.g.probs, std::vector < float > (u.g.probs.size(), 0.0f));
	}
}
