#include "modules/initialiser.h"
#include "objects/genotype_graph.h"

initialiser::initialiser(genhap_set & _GH, int _n_thread) :
	stage_module(_GH, _n_thread, true, "Initialising graphs", "\rInitialising graphs [", "\rInitialising graphs [") {
}

void * initialiser_callback(void * arg) {
	return stage_module::thread(arg);
}

void initialiser::initialise() {
	run(initialiser_callback);
}

void initialiser::process(int ind) {
	initialise(ind);
}

void initialiser::initialise(int ind) {
	graph(ind)->initialise();
}
