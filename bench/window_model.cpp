// Speed of the window model: haplotype_segment::expectation on the graph of one unrelated
// individual over 10,000 sites, built from random genotypes with linkage, against 100
// conditioning haplotypes per window, all of study samples with 0.5% missing genotypes.
// Reports cell updates per second on one core; a cell is one fragment x one conditioning
// state x one site, and its update comprises the forward and the backward pass.
// Run by hand: build with -DSORVANE_BENCH=ON, then build/bench/bench_window_model [repeats]
#include "containers/genhap_set/genhap_set.h"
#include "models/haplotype_segment.h"
#include "objects/genotype_graph.h"
#include "utils/lfile.h"
#include "mosaic.h"
#include "utils/putils.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

static const int n_sites = 10000, n_ancestral = 40, n_states = 100;


static std::vector < bool > missingFlags() {
	std::vector < bool > m(n_sites);
	for (int l = 0 ; l < n_sites ; l ++) m[l] = putils::getRandom() < 0.005;
	return m;
}

int main(int argc, char ** argv) {
	const int repeats = argc > 1 ? atoi(argv[1]) : 20;
	LOG.muteC();
	LOG.muteL();
	putils::initRandom(2024);

	mosaic ancestral(n_sites, n_ancestral);

	// 50 study samples, two haplotypes each, whose graphs only carry their missing flags.
	genhap_set GH;
	std::vector < bool > h(n_sites);
	for (int i = 0 ; i < n_states / 2 ; i ++) {
		GH.vecG.push_back(new genotype_graph(2, i));
		GH.vecG.back()->Miss = missingFlags();
		for (int j = 0 ; j < 2 ; j ++) {
			ancestral.draw(h);
			GH.vecH.push_back(chaplotype(h));
			GH.hap2ind.push_back(i);
		}
	}

	std::vector < bool > h0(n_sites), h1(n_sites), M0(n_sites), M1(n_sites), miss = missingFlags();
	ancestral.draw(h0);
	ancestral.draw(h1);
	for (int l = 0 ; l < n_sites ; l ++) {
		M0[l] = !miss[l] && h0[l];
		M1[l] = !miss[l] && h1[l];
	}
	genotype_graph G(2, 0);
	G.buildUnr(M0, M1, miss);

	// Sites every 500 bp, windows of about 2 Mb as in a default run.
	hmm_parameters M;
	for (std::vector < double > * v : { &M.t, &M.rec, &M.recN, &M.nrec }) v->resize(n_sites - 1);
	for (double & t : M.t) t = 0.002 + 0.02 * putils::getRandom();
	M.update(2 * n_states, n_states);
	std::vector < int > start, stop, segStart, segStop;
	G.cluster(n_sites * 500, 2000000, start, stop, segStart, segStop);
	std::vector < std::vector < int > > cond(start.size());
	for (auto & c : cond) for (int k = 0 ; k < n_states ; k ++) c.push_back(k);

	long cells = 0;
	std::vector < int > first(1, 0);
	for (unsigned int s = 0 ; s < G.HapsS.size() ; s ++) first.push_back(first.back() + G.HapsS[s]);
	for (unsigned int w = 0 ; w < start.size() ; w ++)
		for (int s = segStart[w] ; s <= segStop[w] ; s ++) cells += (long)G.HapsC[s] * G.HapsS[s] * cond[w].size();

	const int S = G.HapsC.size();
	std::vector < std::vector < std::vector < double > > > prob(S + 1, std::vector < std::vector < double > > (8, std::vector < double > (8, 0.0)));
	haplotype_segment HS(GH, GH.vecH, false);
	HS.windows(cond, segStart, segStop, start, stop);
	HS.expectation(&G, M, prob);
	auto begin = std::chrono::steady_clock::now();
	for (int r = 0 ; r < repeats ; r ++) HS.expectation(&G, M, prob);
	double seconds = std::chrono::duration < double > (std::chrono::steady_clock::now() - begin).count();

	printf("%d sites, %d segments, %.2f fragments a segment, %d windows, %d states: %ld cells a run\n",
		n_sites, S, (double)G.Haps.size() / n_sites, (int)start.size(), n_states, cells);
	printf("%d runs in %.3f s: %.1f ms a run, %.0f million cell updates per second (forward and backward)\n",
		repeats, seconds, 1000 * seconds / repeats, cells * repeats / seconds / 1e6);
	return 0;
}
