#include "modules/initialiser.h"
#include "objects/genotype_graph.h"

initialiser::initialiser(genhap_set & _GH, work_queue & _workers) :
	stage_module(_GH, _workers, true, "Initialising graphs", "\rInitialising graphs [", "\rInitialising graphs [") {
}

void initialiser::initialise() {
	run();
}

void initialiser::process(int ind) {
	initialise(ind);
}

void initialiser::initialise(int ind) {
	graph(ind)->initialise();
}
