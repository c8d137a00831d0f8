#include "modules/likelihood_maker.h"
#include "objects/genotype_graph.h"
#include "utils/lfile.h"

likelihood_maker::likelihood_maker(genhap_set & _GH, std::vector < std::vector < float > > & _likes, work_queue & _workers) :
	stage_module(_GH, _workers, true, "Computing transition likelihoods in graphs", "\rComputing transition likelihoods in graphs [", "\rComputing of transition likelihoods in graphs ["), likes(_likes) {
}

void likelihood_maker::make() {
	run();
}

void likelihood_maker::process(int ind) {
	make(ind);
}

// Members are found by their output order: the unit's own, and its parents' in the header.
void likelihood_maker::make(int ind) {
	genotype_graph * G = graph(ind);
	switch (G->type) {
	case 1:
		G->computeLikesFromGLsHap(likes[G->index]);
		break;
	case 2:
		G->computeLikesFromGLsUnr(likes[G->index]);
		break;
	case 3:
		G->computeLikesFromGLsDuo(likes[G->findex >= 0 ? G->findex : G->mindex], likes[G->index]);
		break;
	case 4:
		G->computeLikesFromGLsTri(likes[G->findex], likes[G->mindex], likes[G->index]);
		break;
	default:
		LOG.error("Unknown type of graph (likelihood_maker::make(int ind))");
	}
}
