// Speed of the graph model against the window model, per individual, for the graph of one
// unrelated individual over 10,000 sites (as in bench_window_model). The graph model is
// built once per iteration over all N allowed haplotypes (100 distinct fragments a block)
// and follows each sample through rem and add; the window model scores 100 conditioning
// haplotypes per window of about 2 Mb, chosen per individual by Hamming distance among the
// N haplotypes (the selection is timed with it).
// Run by hand: build with -DSORVANE_BENCH=ON, then build/bench/bench_graph_model [repeats]
#include "containers/genhap_set/genhap_set.h"
#include "models/haplotype_graph.h"
#include "models/haplotype_segment.h"
#include "mosaic.h"
#include "objects/genotype_graph.h"
#include "utils/lfile.h"
#include "utils/putils.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <vector>

static const int n_sites = 10000, n_ancestral = 40, n_states = 100;

static double since(std::chrono::steady_clock::time_point begin) {
	return std::chrono::duration < double > (std::chrono::steady_clock::now() - begin).count();
}

int main(int argc, char ** argv) {
	const int repeats = argc > 1 ? atoi(argv[1]) : 10;
	LOG.muteC();
	LOG.muteL();
	putils::initRandom(2024);
	mosaic ancestral(n_sites, n_ancestral);

	std::vector < bool > h0(n_sites), h1(n_sites), miss(n_sites, false);
	ancestral.draw(h0);
	ancestral.draw(h1);
	genotype_graph G(2, 0);
	G.buildUnr(h0, h1, miss);
	const int S = G.HapsC.size();
	std::vector < std::vector < std::vector < double > > > prob(S + 1, std::vector < std::vector < double > > (8, std::vector < double > (8, 0.0)));
	std::vector < int > start, stop, segStart, segStop;
	G.cluster(n_sites * 500, 2000000, start, stop, segStart, segStop);

	printf("%d sites, %d segments, %.2f fragments a segment, %d windows of the window model\n", n_sites, S, (double)G.Haps.size() / n_sites, (int)start.size());
	printf("%8s | %12s %10s %14s %12s | %12s %12s %12s\n", "N", "graph build", "blocks", "fragments max", "ms/ind", "select ms", "model ms", "ms/ind");
	for (int N : { 500, 1000, 2000, 4000 }) {
		// N haplotypes of study samples, two a sample; the individual is the last sample.
		genhap_set GH;
		std::vector < bool > h(n_sites);
		for (int i = 0 ; i <= N / 2 ; i ++) {
			GH.vecG.push_back(new genotype_graph(2, i));
			GH.vecG.back()->Miss.assign(n_sites, false);
			GH.ind2hap.push_back({ 2 * i, 2 * i + 1 });
			GH.relatives.push_back({ i });
			GH.kin_haps.push_back({ });
			for (int j = 0 ; j < 2 ; j ++) {
				ancestral.draw(h);
				GH.vecH.push_back(chaplotype(h));
				GH.hap2ind.push_back(i);
			}
		}
		const int ind = N / 2;
		std::vector < int > allowed(N);
		std::iota(allowed.begin(), allowed.end(), 0);
		hmm_parameters M;
		for (std::vector < double > * v : { &M.t, &M.rec, &M.recN, &M.nrec }) v->resize(n_sites - 1);
		for (double & t : M.t) t = 0.002 + 0.02 * putils::getRandom();
		M.update(N, n_states);

		auto begin = std::chrono::steady_clock::now();
		haplotype_graph Hg(GH.vecH, allowed, n_states);
		const double build = since(begin);
		begin = std::chrono::steady_clock::now();
		for (int r = 0 ; r < repeats ; r ++) {
			Hg.rem(GH.vecH[r % N]);
			Hg.expectation(&G, M, prob);
			Hg.add(GH.vecH[r % N]);
		}
		const double graph = since(begin) / repeats;

		std::vector < bool > open (GH.vecH.size(), true);
		open[2 * ind] = open[2 * ind + 1] = false;
		const genhap_set::state_counts counts = { n_states, 0, 0, 0, false, 2, false };
		double select = 0.0, model = 0.0;
		haplotype_segment HS(GH, GH.vecH, false);
		for (int r = 0 ; r < repeats ; r ++) {
			std::vector < std::vector < int > > cond;
			begin = std::chrono::steady_clock::now();
			GH.conditioningSets(open, ind, counts, start, stop, cond);
			select += since(begin);
			begin = std::chrono::steady_clock::now();
			HS.windows(cond, segStart, segStop, start, stop);
			HS.expectation(&G, M, prob);
			model += since(begin);
		}
		printf("%8d | %10.1f s %10d %14d %12.1f | %12.1f %12.1f %12.1f\n", N, build, (int)Hg.levels.size(), Hg.getMaxState(), 1000 * graph,
			1000 * select / repeats, 1000 * model / repeats, 1000 * (select + model) / repeats);
	}
	return 0;
}
