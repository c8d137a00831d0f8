#include "modules/pruner.h"
#include "objects/genotype_graph.h"

pruner::pruner(genhap_set & _GH, double _threshold, work_queue & _workers) :
	stage_module(_GH, _workers, true, "Pruning graphs", "\rPruning graphs [", "\rPruning graphs ["), threshold(_threshold) {
}

void pruner::prune() {
	run();
}

void pruner::process(int ind) {
	prune(ind);
}

void pruner::prune(int ind) {
	graph(ind)->pruneAndMerge(threshold);
}
