#include "modules/pruner.h"
#include "objects/genotype_graph.h"

pruner::pruner(genhap_set & _GH, double _threshold, int _n_thread) :
	stage_module(_GH, _n_thread, true, "Pruning graphs", "\rPruning graphs [", "\rPruning graphs ["), threshold(_threshold) {
}

void * pruner_callback(void * arg) {
	return stage_module::thread(arg);
}

void pruner::prune() {
	run(pruner_callback);
}

void pruner::process(int ind) {
	prune(ind);
}

void pruner::prune(int ind) {
	graph(ind)->pruneAndMerge(threshold);
}
