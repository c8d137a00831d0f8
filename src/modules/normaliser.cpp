#include "modules/normaliser.h"
#include "objects/genotype_graph.h"

normaliser::normaliser(genhap_set & _GH, int _n_thread) :
	stage_module(_GH, _n_thread, true, "Normalising graphs", "\rNormalising graphs [", "\rNormalising graphs [") {
}

void * normaliser_callback(void * arg) {
	return stage_module::thread(arg);
}

void normaliser::normalise() {
	run(normaliser_callback);
}

void normaliser::process(int ind) {
	normalise(ind);
}

void normaliser::normalise(int ind) {
	graph(ind)->normalize();
}
