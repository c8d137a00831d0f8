#include "modules/sampler.h"
#include "objects/genotype_graph.h"

sampler::sampler(genhap_set & _GH, bool _random, work_queue & _workers, bool _verbose) :
	stage_module(_GH, _workers, _verbose, "Sampling haplotypes", "\rSampling haplotypes [", "\rSampling haplotypes ["), random(_random) {
}

void sampler::sample() {
	run();
}

void sampler::process(int ind) {
	sample(ind);
}

void sampler::sample(int ind) {
	graph(ind)->sample(GH.vecH, GH.ind2hap[ind], random);
}
