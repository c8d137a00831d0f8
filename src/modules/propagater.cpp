#include "modules/propagater.h"
#include "objects/genotype_graph.h"

propagater::propagater(genhap_set & _GH, int _n_thread) :
	stage_module(_GH, _n_thread, true, "Propagating probabilities in graphs", "\rPropagating probabilities in graphs [", "\rPropagating probabilities in graphs [") {
}

void * propagater_callback(void * arg) {
	return stage_module::thread(arg);
}

void propagater::propagate() {
	run(propagater_callback);
}

void propagater::process(int ind) {
	propagate(ind);
}

void propagater::propagate(int ind) {
	genotype_graph * G = graph(ind);
	std::vector < std::vector < double > > alpha, beta;
	G->join2cond();
	G->forward(alpha);
	G->backward(beta);
	G->expectation(alpha, beta);
}
