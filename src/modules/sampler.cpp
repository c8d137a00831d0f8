#include "modules/sampler.h"
#include "objects/genotype_graph.h"

sampler::sampler(genhap_set & _GH, bool _random, int _n_thread, bool _verbose) :
	stage_module(_GH, _n_thread, _verbose, "Sampling haplotypes", "\rSampling haplotypes [", "\rSampling haplotypes ["), random(_random) {
}

void * sampler_callback(void * arg) {
	return stage_module::thread(arg);
}

void sampler::sample() {
	run(sampler_callback);
}

void sampler::process(int ind) {
	sample(ind);
}

void sampler::sample(int ind) {
	graph(ind)->sample(GH.vecH, GH.ind2hap[ind], random);
}
