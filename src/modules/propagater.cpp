#include "modules/propagater.h"
#include "objects/genotype_graph.h"

propagater::propagater(genhap_set & _GH, work_queue & _workers) :
	stage_module(_GH, _workers, true, "Propagating probabilities in graphs", "\rPropagating probabilities in graphs [", "\rPropagating probabilities in graphs [") {
}

void propagater::propagate() {
	run();
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
