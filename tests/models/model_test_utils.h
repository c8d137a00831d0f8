#ifndef _MODEL_TEST_UTILS_H
#define _MODEL_TEST_UTILS_H

#include "containers/genhap_set/genhap_set.h"
#include "models/hmm_parameters.h"
#include "objects/genotype_graph_test_utils.h"
#include "utils/putils.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>

typedef std::vector < std::vector < std::vector < double > > > matrices;

namespace modeltest {

// A random unit's graph and the haplotypes it copies from: study samples (graphs with only
// Miss flags), then a panel.
struct Scene {
	static const int n_samples = 3, n_panel = 6;
	genhap_set GH;
	std::unique_ptr < genotype_graph > G;
	hmm_parameters M;
	std::vector < std::vector < int > > cond;
	std::vector < int > start, stop, segStart, segStop;
	std::vector < std::vector < std::vector < std::vector < bool > > > > masks;

	Scene(int type, int L, double het, double miss, bool oneWindow, double alt = 0.35) {
		for (int i = 0 ; i < n_samples ; i ++) {
			GH.vecG.push_back(new genotype_graph(2, i));
			for (int l = 0 ; l < L ; l ++) GH.vecG[i]->Miss.push_back(putils::getRandom() < 0.3);
			GH.hap2ind.insert(GH.hap2ind.end(), 2, i);
		}
		GH.vecH.assign(2 * n_samples + n_panel, chaplotype(L));
		for (chaplotype & h : GH.vecH) for (int l = 0 ; l < L ; l ++) h.set(l, putils::getRandom() < alt);
		const std::vector < std::pair < int, int > > & who = graphtest::MEMBERS[type];
		std::vector < std::vector < bool > > A(9, std::vector < bool > (L, false));
		for (int l = 0 ; l < L ; l ++) {
			int h[4];
			for (int j = 0 ; j < type ; j ++) h[j] = putils::getRandom() < het;
			for (unsigned int m = 0 ; m < who.size() ; m ++) {
				// Missing at the last site too: the backward pass starts there.
				const bool x = putils::getRandom() < miss || (miss > 0.0 && l == L - 1);
				A[3 * m][l] = !x && h[who[m].first];
				A[3 * m + 1][l] = !x && h[who[m].second];
				A[3 * m + 2][l] = x;
			}
		}
		G.reset(new genotype_graph(type, 0));
		if (type == 1) G->buildHap(A[0], A[2]);
		else if (type == 2) G->buildUnr(A[0], A[1], A[2]);
		else if (type == 3) G->buildDuo(A[0], A[1], A[2], A[3], A[4], A[5]);
		else G->buildTrio(A[0], A[1], A[2], A[3], A[4], A[5], A[6], A[7], A[8]);
		EXPECT_EQ(graphtest::fault(*G, L), "");
		for (std::vector < double > * v : { &M.t, &M.rec, &M.recN, &M.nrec }) v->resize(L - 1);
		for (double & t : M.t) t = 0.01 + putils::getRandom();
		M.update(20, 6, 20);
		G->cluster(oneWindow ? 100 : (int)G->HapsC.size() * 10, oneWindow ? 1000 : 30, start, stop, segStart, segStop);
		// 4 to 8 distinct haplotypes, the first of the panel so that the last site emits.
		for (unsigned int w = 0 ; w < start.size() ; w ++) {
			cond.push_back({ 2 * n_samples + putils::getRandom(n_panel) });
			for (unsigned int n = 4 + putils::getRandom(5) ; cond[w].size() < n ; ) {
				const int k = putils::getRandom(GH.vecH.size());
				if (std::find(cond[w].begin(), cond[w].end(), k) == cond[w].end()) cond[w].push_back(k);
			}
		}
		G->mask(masks);
	}

	int tracks() const { return G->type < 3 ? 1 : G->type; }

	// Track j's matrices, masked for duos and trios or if asked; unwritten cells stay -1.
	template < class Model > matrices expect(Model & model, hmm_parameters & P, int j, bool masked = false) {
		matrices prob(G->HapsC.size() + 1, std::vector < std::vector < double > > (8, std::vector < double > (8, -1.0)));
		if (G->type < 3 && !masked) model.expectation(G.get(), P, prob);
		else model.expectation(G.get(), P, masks[j], prob);
		return prob;
	}

	// Li and Stephens likelihood of hap over window w; no emission where the unit and the
	// copied sample are both missing (0 at the window's last site with lastQuirk).
	double copying(const std::vector < int > & hap, int w, bool lastQuirk) const {
		const std::vector < int > & C = cond[w];
		std::vector < double > alpha(C.size(), 1.0), next(C.size());
		for (int l = start[w] ; l <= stop[w] ; l ++) {
			const double total = std::accumulate(alpha.begin(), alpha.end(), 0.0);
			for (unsigned int k = 0 ; k < C.size() ; k ++) {
				const bool none = G->Miss[l] && C[k] < (int)GH.hap2ind.size() && GH.vecG[GH.hap2ind[C[k]]]->Miss[l];
				const double e = none ? (lastQuirk && l == stop[w] ? 0.0 : 1.0) : GH.vecH[C[k]].get(l) == hap[l - start[w]] ? M.ed : M.ee;
				next[k] = e * (l == start[w] ? 1.0 : alpha[k] * M.nrec[l - 1] + total * M.recN[l - 1]);
			}
			alpha.swap(next);
		}
		return std::accumulate(alpha.begin(), alpha.end(), 0.0);
	}

	// Track j's matrices by enumerating, per window, every chain of fragments the mask allows;
	// each chain adds its likelihood to its fragment pairs; a later window overwrites.
	matrices reference(int j) const {
		const int S = G->HapsC.size(), W = start.size();
		auto links = [&](int s, int p, int h) {
			if (G->type < 3 || p >= 0) return G->type < 3 || masks[j][s][p][h];
			return std::any_of(masks[j][s].begin(), masks[j][s].end(), [h](const std::vector < bool > & row) { return row[h]; });
		};
		matrices ref(S + 1, std::vector < std::vector < double > > (8, std::vector < double > (8, 0.0)));
		for (int w = 0 ; w < W ; w ++) {
			matrices cur(S + 1, std::vector < std::vector < double > > (8, std::vector < double > (8, 0.0)));
			std::vector < int > chain;
			std::function < void (int) > walk = [&](int s) {
				for (int h = 0 ; s <= segStop[w] && h < (int)G->HapsC[s] ; h ++) if (links(s, -1, h) && (s == segStart[w] || links(s, chain.back(), h))) {
					chain.push_back(h);
					walk(s + 1);
					chain.pop_back();
				}
				if (s <= segStop[w]) return;
				std::vector < int > hap;
				for (int t = segStart[w] ; t <= segStop[w] ; t ++) for (unsigned int i = 0 ; i < G->HapsS[t] ; i ++) hap.push_back(G->getA(t, chain[t - segStart[w]], i));
				const double back = copying(hap, w, true);
				for (int t = segStart[w] + 1 ; t <= segStop[w] ; t ++) cur[t][chain[t - 1 - segStart[w]]][chain[t - segStart[w]]] += back;
				if (w == 0) cur[0][0][chain.front()] += back;
				if (w == W - 1) cur[S][chain.back()][0] += copying(hap, w, false);
			};
			walk(segStart[w]);
			for (int g = 0 ; g <= S ; g ++) if ((g > segStart[w] && g <= segStop[w]) || (g == 0 && w == 0) || (g == S && w == W - 1)) {
				double total = 0.0;
				for (auto & row : cur[g]) total += std::accumulate(row.begin(), row.end(), 0.0);
				for (int a = 0 ; a < 8 ; a ++) for (int b = 0 ; b < 8 ; b ++) ref[g][a][b] = cur[g][a][b] / total;
			}
		}
		return ref;
	}

	void compare(const matrices & prob, const matrices & ref, double relative, double absolute, const std::string & what) const {
		const int S = G->HapsC.size();
		for (int g = 0 ; g <= S ; g ++) {
			double total = 0.0;
			for (int a = 0 ; a < (g ? (int)G->HapsC[g - 1] : 1) ; a ++) for (int b = 0 ; b < (g < S ? (int)G->HapsC[g] : 1) ; b ++) {
				ASSERT_NEAR(prob[g][a][b], ref[g][a][b], relative * ref[g][a][b] + absolute) << what << " group " << g << " cell " << a << "," << b;
				ASSERT_GE(prob[g][a][b], 0.0) << what;
				total += prob[g][a][b];
			}
			ASSERT_NEAR(total, 1.0, std::max(1e-9, 10 * relative)) << what << " group " << g;
		}
	}
};

}

#endif
