#include "containers/genhap_set/genhap_set.h"
#include "input/genotype_test_utils.h"
#include "modules/initialiser.h"
#include "modules/likelihood_maker.h"
#include "modules/normaliser.h"
#include "modules/propagater.h"
#include "modules/pruner.h"
#include "modules/sampler.h"
#include "modules/solver.h"
#include "utils/putils.h"

#include <functional>

namespace {

// Per kind of unit, each member's genotype as the sum of the alleles of two tracks.
const std::vector < std::vector < std::pair < int, int > > > MEMBERS = { {}, { { 0, 0 } }, { { 0, 1 } }, { { 0, 1 }, { 0, 2 } }, { { 0, 1 }, { 2, 3 }, { 0, 3 } } };

// Random units over L sites: haploid, unrelated, scaffolded unrelated (kind 5), duos of a
// father or of a mother, trios. Each member is a sample of its own output order, with
// random genotype likelihoods; geno keeps the allele sums, -1 where missing.
struct Study {
	snp_set S;
	genhap_set GH;
	std::vector < std::vector < std::vector < int > > > geno;
	std::vector < std::vector < int > > samples;
	std::vector < std::vector < float > > likes;

	Study(int L, const std::vector < int > & kinds) {
		for (int l = 0 ; l < L ; l ++) S.put(new snp("1", 100 * (l + 1), "A", "C", 3));
		S.indexing();
		std::vector < genotype_graph * > graphs;
		for (int kind : kinds) graphs.push_back(unit(kind, L, graphs.size()));
		GH.initialise(graphs, &S);
	}

	genotype_graph * unit(int kind, int L, int id) {
		const int type = kind == 5 ? 2 : kind;
		const auto & M = MEMBERS[type];
		std::vector < std::vector < bool > > A(3 * M.size(), std::vector < bool > (L)), scaffold(1, std::vector < bool > (L));
		geno.push_back(std::vector < std::vector < int > > (M.size(), std::vector < int > (L)));
		samples.push_back({});
		for (unsigned int m = 0 ; m < M.size() ; m ++) {
			samples.back().push_back(likes.size());
			likes.push_back(std::vector < float > (3 * L));
			for (float & x : likes.back()) x = 0.05 + putils::getRandom();
		}
		for (int l = 0 ; l < L ; l ++) {
			int h[4];
			for (int & x : h) x = putils::getRandom() < 0.4;
			for (unsigned int m = 0 ; m < M.size() ; m ++) {
				bool missing = putils::getRandom() < 0.1;
				A[3 * m][l] = !missing && h[M[m].first];
				A[3 * m + 1][l] = !missing && h[M[m].second];
				A[3 * m + 2][l] = missing;
				geno.back()[m][l] = missing ? -1 : h[M[m].first] + h[M[m].second];
			}
			scaffold[0][l] = putils::getRandom() < 0.5;
		}
		genotype_graph * g = new genotype_graph(type, id);
		std::vector < std::string > none;
		std::string name = "c" + std::to_string(id), parent = "p" + std::to_string(id), other = "o" + std::to_string(id);
		const std::vector < int > & s = samples.back();
		g->pushChild(name, s.back(), none);
		if (type == 1) g->buildHap(A[0], A[2]);
		else if (kind == 5) g->buildUnr(A[0], A[1], A[2], scaffold[0]);
		else if (type == 2) g->buildUnr(A[0], A[1], A[2]);
		else if (type == 3) {
			g->buildDuo(A[0], A[1], A[2], A[3], A[4], A[5]);
			if (id % 2) g->pushFather(parent, true, s[0], none);
			else g->pushMother(parent, true, s[0], none);
		} else {
			g->buildTrio(A[0], A[1], A[2], A[3], A[4], A[5], A[6], A[7], A[8]);
			g->pushFather(parent, true, s[0], none);
			g->pushMother(other, true, s[1], none);
		}
		return g;
	}

	// "" when the haplotypes of every unit add up to its called genotypes.
	std::string mismatch() {
		for (unsigned int i = 0 ; i < geno.size() ; i ++) for (unsigned int m = 0 ; m < geno[i].size() ; m ++) for (unsigned int l = 0 ; l < geno[i][m].size() ; l ++) {
			const auto & tracks = MEMBERS[GH.vecG[i]->type][m];
			int sum = GH.vecH[GH.ind2hap[i][tracks.first]][l] + GH.vecH[GH.ind2hap[i][tracks.second]][l];
			if (geno[i][m][l] >= 0 && sum != geno[i][m][l]) return "unit " + std::to_string(i) + " member " + std::to_string(m) + " site " + std::to_string(l);
		}
		return "";
	}

	std::vector < float > allProbs() {
		std::vector < float > p;
		for (genotype_graph * g : GH.vecG) p.insert(p.end(), g->probs.begin(), g->probs.end());
		return p;
	}

	std::vector < std::string > haplotypes() {
		std::vector < std::string > h;
		for (chaplotype & x : GH.vecH) h.push_back(x.toString());
		return h;
	}
};

const std::vector < int > KINDS = { 1, 2, 5, 3, 4, 3, 2, 4, 1, 5, 3, 2 };

struct Stage {
	std::string line, progress, threaded;
	std::function < void (genhap_set &, std::vector < std::vector < float > > &, int) > run;
};

}

// Each stage writes its line to the log between empty lines, and a progress line per unit to
// the screen; likelihood_maker words the threaded progress differently. An empty set still
// prints; the sampler without verbose prints nothing at all.
TEST(stages, LogLinesAndProgress) {
	const std::vector < Stage > stages = {
		{ "Initialising graphs", "\rInitialising graphs [", "", [](genhap_set & GH, std::vector < std::vector < float > > &, int T) { initialiser(GH, T).initialise(); } },
		{ "Normalising graphs", "\rNormalising graphs [", "", [](genhap_set & GH, std::vector < std::vector < float > > &, int T) { normaliser(GH, T).normalise(); } },
		{ "Propagating probabilities in graphs", "\rPropagating probabilities in graphs [", "", [](genhap_set & GH, std::vector < std::vector < float > > &, int T) { propagater(GH, T).propagate(); } },
		{ "Solving haplotypes", "\rSolving haplotypes [", "", [](genhap_set & GH, std::vector < std::vector < float > > &, int T) { solver(GH, T).solve(); } },
		{ "Sampling haplotypes", "\rSampling haplotypes [", "", [](genhap_set & GH, std::vector < std::vector < float > > &, int T) { sampler(GH, false, T, true).sample(); } },
		{ "Pruning graphs", "\rPruning graphs [", "", [](genhap_set & GH, std::vector < std::vector < float > > &, int T) { pruner(GH, 0.99, T).prune(); } },
		{ "Computing transition likelihoods in graphs", "\rComputing transition likelihoods in graphs [", "\rComputing of transition likelihoods in graphs [",
			[](genhap_set & GH, std::vector < std::vector < float > > & likes, int T) { likelihood_maker(GH, likes, T).make(); } },
	};
	testutils::TempDir d;
	putils::initRandom(4);
	for (int n : { 0, 3 }) for (int T : { 1, 2 }) {
		Study st(12, std::vector < int > (KINDS.begin(), KINDS.begin() + n));
		for (const Stage & s : stages) {
			std::string screen, log = genotest::logOf(d, [&] {
				LOG.unmuteC();
				testing::internal::CaptureStdout();
				s.run(st.GH, st.likes, T);
				screen = testing::internal::GetCapturedStdout();
			});
			EXPECT_EQ(log, "\n" + s.line + "\n\n");
			std::string progress = T > 1 && !s.threaded.empty() ? s.threaded : s.progress, all = "\n";
			for (int i = 1 ; i <= n ; i ++) {
				std::string one = progress + std::to_string(i) + "/" + std::to_string(n) + "]";
				EXPECT_NE(screen.find(one), std::string::npos) << screen;
				all += one;
			}
			EXPECT_EQ(screen.size(), all.size() + 1) << screen;
			EXPECT_EQ(screen.substr(0, 1) + screen.substr(screen.size() - 1), "\n\n");
		}
		std::string log = genotest::logOf(d, [&] {
			LOG.unmuteC();
			testing::internal::CaptureStdout();
			sampler(st.GH, true, T, false).sample();
			EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
		});
		EXPECT_EQ(log, "");
	}
	testutils::silenceLog();
}

// The stages whose work draws nothing give the same graphs and haplotypes on 1 and 2 threads
// (haplotypes compared on ordered units: an unordered pair may take a coin flip).
TEST(stages, DeterministicStagesAgreeOnOneAndTwoThreads) {
	testutils::silenceLog();
	std::vector < std::vector < float > > normalised, propagated;
	std::vector < std::vector < std::string > > solved;
	std::vector < int > ordered(KINDS.size());
	for (int T : { 1, 2 }) {
		putils::initRandom(21);
		Study st(40, KINDS);
		for (genotype_graph * g : st.GH.vecG) for (float & p : g->probs) p = 0.01 + putils::getRandom();
		normaliser(st.GH, T).normalise();
		normalised.push_back(st.allProbs());
		for (genotype_graph * g : st.GH.vecG) for (unsigned int k = 0 ; k < g->probsC.size() ; k ++) {
			double sum = 0.0;
			for (unsigned int t = g->probsI[k] ; t < g->probsI[k] + g->probsC[k] ; t ++) sum += g->probs[t];
			EXPECT_NEAR(sum, 1.0, 1e-5);
		}
		solver(st.GH, T).solve();
		EXPECT_EQ(st.mismatch(), "");
		std::vector < std::string > h = st.haplotypes(), kept;
		for (unsigned int i = 0 ; i < KINDS.size() ; i ++) if (KINDS[i] != 2) for (int x : st.GH.ind2hap[i]) kept.push_back(h[x]);
		solved.push_back(kept);
		propagater(st.GH, T).propagate();
		propagated.push_back(st.allProbs());
	}
	EXPECT_EQ(normalised[0], normalised[1]);
	EXPECT_EQ(solved[0], solved[1]);
	EXPECT_EQ(propagated[0], propagated[1]);
	EXPECT_NE(normalised[0], propagated[0]);
}

// On several threads every unit is reached: uniform start, sampled haplotypes that spell the
// genotypes, emission weights from the likelihoods of the right members; an unknown kind of
// graph stops the likelihood stage.
TEST(stages, ThreadedStagesReachEveryUnit) {
	testutils::silenceLog();
	putils::initRandom(8);
	Study st(60, KINDS);
	initialiser(st.GH, 3).initialise();
	for (genotype_graph * g : st.GH.vecG) for (unsigned int k = 0 ; k < g->probsC.size() ; k ++)
		for (unsigned int t = g->probsI[k] ; t < g->probsI[k] + g->probsC[k] ; t ++) EXPECT_FLOAT_EQ(g->probs[t], 1.0f / g->probsC[k]);
	for (bool random : { true, false }) {
		sampler(st.GH, random, 3, true).sample();
		EXPECT_EQ(st.mismatch(), "");
	}
	std::vector < genotype_graph > copies;
	for (genotype_graph * g : st.GH.vecG) copies.push_back(*g);
	likelihood_maker(st.GH, st.likes, 2).make();
	for (unsigned int i = 0 ; i < copies.size() ; i ++) {
		genotype_graph & c = copies[i];
		std::vector < int > & s = st.samples[i];
		if (c.type == 1) c.computeLikesFromGLsHap(st.likes[s[0]]);
		else if (c.type == 2) c.computeLikesFromGLsUnr(st.likes[s[0]]);
		else if (c.type == 3) c.computeLikesFromGLsDuo(st.likes[s[0]], st.likes[s[1]]);
		else c.computeLikesFromGLsTri(st.likes[s[0]], st.likes[s[1]], st.likes[s[2]]);
		EXPECT_EQ(st.GH.vecG[i]->likes, c.likes) << i;
	}
	pruner(st.GH, 0.99, 2).prune();
	for (genotype_graph * g : st.GH.vecG) EXPECT_TRUE(g->likes.empty());

	Study odd(5, { 2 });
	odd.GH.vecG[0]->type = 5;
	EXPECT_LOG_ERROR(likelihood_maker(odd.GH, odd.likes, 1).make(), "Unknown type of graph \\(likelihood_maker::make\\(int ind\\)\\)");
	odd.GH.vecG[0]->type = 2;
}
