#include "modules/normaliser.h"
#include "objects/genotype_graph.h"

normaliser::normaliser(genhap_set & _GH, work_queue & _workers) :
	stage_module(_GH, _workers, true, "Normalising graphs", "\rNormalising graphs [", "\rNormalising graphs [") {
}

void normaliser::normalise() {
	run();
}

void normaliser::process(int ind) {
	normalise(ind);
}

void normaliser::normalise(int ind) {
	graph(ind)->normalize();
}
