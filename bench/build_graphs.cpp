// Building time of the genotype graphs of a cohort of 1000 individuals and 10,000 sites,
// generated in memory with a fixed seed: 850 unrelated individuals, 30 duos and 30 trios.
// Run by hand: build with -DSORVANE_BENCH=ON, then build/bench/bench_build_graphs [threads]
#include "input/filter_reader.h"
#include "input/genotype_reader.h"
#include "modules/builder.h"
#include "objects/snp_set.h"
#include "utils/lfile.h"
#include "mosaic.h"
#include "utils/putils.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

static const int n_sites = 10000, n_ancestral = 40;


static void addIndividual(genotype_reader & G, const std::vector < bool > & h0, const std::vector < bool > & h1) {
	std::string id = "I" + std::to_string(G.ind_id.size());
	G.putInd(id);
	int i = G.ind_id.size() - 1;
	G.ind_family[i] = i;
	for (int l = 0 ; l < n_sites ; l ++) {
		bool m = putils::getRandom() < 0.005;
		G.hap0[i].push_back(!m && h0[l]);
		G.hap1[i].push_back(!m && h1[l]);
		G.missing[i].push_back(m);
	}
}

static std::map < std::string, int > unit(int type, int child, int father, int mother) {
	return { { "type", type }, { "idx_child", child }, { "ord_child", child }, { "idx_father", father }, { "ord_father", father },
		{ "main_father", 1 }, { "idx_mother", mother }, { "ord_mother", mother }, { "main_mother", 1 } };
}

// A child takes one haplotype of each parent, a duo child a second one from outside.
static void generate(genotype_reader & G, std::vector < std::map < std::string, int > > & units) {
	mosaic ancestral(n_sites, n_ancestral);
	std::vector < bool > a(n_sites), b(n_sites), c(n_sites), d(n_sites);
	for (int t = 0 ; t < 30 ; t ++) {
		int f = G.ind_id.size();
		ancestral.draw(a); ancestral.draw(b); ancestral.draw(c); ancestral.draw(d);
		addIndividual(G, a, b);
		addIndividual(G, c, d);
		addIndividual(G, a, d);
		units.push_back(unit(4, f + 2, f, f + 1));
	}
	for (int t = 0 ; t < 30 ; t ++) {
		int p = G.ind_id.size();
		ancestral.draw(a); ancestral.draw(b); ancestral.draw(c);
		addIndividual(G, a, b);
		addIndividual(G, c, b);
		units.push_back(t % 2 ? unit(3, p + 1, p, -1) : unit(3, p + 1, -1, p));
	}
	while (G.ind_id.size() < 1000) {
		units.push_back(unit(2, G.ind_id.size(), -1, -1));
		ancestral.draw(a); ancestral.draw(b);
		addIndividual(G, a, b);
	}
}

int main(int argc, char ** argv) {
	int threads = argc > 1 ? atoi(argv[1]) : 1;
	LOG.muteC();
	LOG.muteL();
	putils::initRandom(2024);
	filter_reader filter;
	genotype_reader G(filter, false);
	std::vector < std::map < std::string, int > > units;
	generate(G, units);

	builder B(G, units, threads);
	auto start = std::chrono::steady_clock::now();
	B.build();
	double seconds = std::chrono::duration < double > (std::chrono::steady_clock::now() - start).count();

	long segments = 0, transitions = 0, bytes = 0;
	for (genotype_graph * g : B.vecG) {
		segments += g->HapsS.size();
		transitions += g->probs.size();
		bytes += g->trans.capacity() + 4 * (g->probs.capacity() + g->probsI.capacity() + g->probsC.capacity())
			+ g->Haps.data.capacity() + 4 * (g->HapsI.capacity() + g->HapsC.capacity() + g->HapsS.capacity()) + (g->Ambs.capacity() + g->Miss.capacity()) / 8;
		delete g;
	}
	printf("Built %d graphs of %d sites on %d thread(s) in %.2f s: %.1f segments and %.0f transitions a graph, %.1f MB in all\n",
		(int)units.size(), n_sites, threads, seconds, (double)segments / units.size(), (double)transitions / units.size(), bytes / 1e6);
	return 0;
}
