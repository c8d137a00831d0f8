// Speed of the Hamming selection of conditioning haplotypes: 10,000 haplotypes of 10,000
// sites, mosaics of 200 founders with rare changes, generated with a fixed seed. Each call
// chooses 100 states for one unrelated individual in one window; the figure is candidate
// comparisons (haplotypes scanned per target) per second. Run by hand: build with
// -DSORVANE_BENCH=ON, then build/bench/bench_select_states
#include "containers/genhap_set/genhap_set.h"
#include "objects/snp.h"
#include "objects/snp_set.h"
#include "utils/putils.h"

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

static void mosaics(genhap_set & GH, int n_founders, int n_sites) {
	std::vector < std::vector < bool > > founders(n_founders, std::vector < bool > (n_sites));
	for (std::vector < bool > & f : founders) for (int l = 0 ; l < n_sites ; l ++) f[l] = putils::getRandom() < 0.3;
	for (chaplotype & h : GH.vecH) {
		int f = putils::getRandom(n_founders);
		for (int l = 0 ; l < n_sites ; l ++) {
			if (putils::getRandom() < 0.003) f = putils::getRandom(n_founders);
			h.set(l, founders[f][l] != (putils::getRandom() < 0.005));
		}
	}
}

int main() {
	const int n_haps = 10000, n_sites = 10000, states = 100, n_calls = 400;
	putils::initRandom(2024);
	snp_set S;
	for (int l = 0 ; l < n_sites ; l ++) S.put(new snp("20", 100 + 10 * l, "A", "G", 3));
	S.indexing();
	std::vector < genotype_graph * > graphs;
	std::vector < std::string > none;
	for (int i = 0 ; i < n_haps / 2 ; i ++) {
		std::string name = "S" + std::to_string(i);
		graphs.push_back(new genotype_graph(2, i));
		graphs.back()->pushChild(name, i, none);
	}
	genhap_set GH;
	GH.initialise(graphs, &S);
	mosaics(GH, 200, n_sites);

	for (int width : { 1000, n_sites }) {
		long scanned = 0;
		double seconds = 0.0;
		for (int c = 0 ; c < n_calls ; c ++) {
			const int ind = putils::getRandom(n_haps / 2), left = putils::getRandom(n_sites - width + 1), right = left + width - 1;
			std::vector < bool > mask = GH.founder_mask, selected;
			GH.subsetHaplotypes_relatives(mask, ind);
			auto start = std::chrono::steady_clock::now();
			GH.subsetHaplotypes_hamming_ALL(mask, ind, states, left, right, selected);
			seconds += std::chrono::duration < double > (std::chrono::steady_clock::now() - start).count();
			scanned += 2L * (n_haps - 2);
		}
		printf("Windows of %d sites: %d calls, %ld candidates in %.3f s: %.1f million candidates per second\n", width, n_calls, scanned, seconds, scanned / seconds * 1e-6);
	}
	return 0;
}
