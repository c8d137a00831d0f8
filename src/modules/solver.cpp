#include "modules/solver.h"
#include "objects/genotype_graph.h"

solver::solver(genhap_set & _GH, int _n_thread) :
	stage_module(_GH, _n_thread, true, "Solving haplotypes", "\rSolving haplotypes [", "\rSolving haplotypes [") {
}

void * solver_callback(void * arg) {
	return stage_module::thread(arg);
}

void solver::solve() {
	run(solver_callback);
}

void solver::process(int ind) {
	solve(ind);
}

void solver::solve(int ind) {
	graph(ind)->maximize(GH.vecH, GH.ind2hap[ind]);
}
