#include "modules/solver.h"
#include "objects/genotype_graph.h"

solver::solver(genhap_set & _GH, work_queue & _workers) :
	stage_module(_GH, _workers, true, "Solving haplotypes", "\rSolving haplotypes [", "\rSolving haplotypes [") {
}

void solver::solve() {
	run();
}

void solver::process(int ind) {
	solve(ind);
}

void solver::solve(int ind) {
	graph(ind)->maximize(GH.vecH, GH.ind2hap[ind]);
}
