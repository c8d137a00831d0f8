#include "modules/stage_module.h"
#include "utils/assertion.h"
#include "utils/lfile.h"

// Only likelihood_maker words its progress differently on several threads.
stage_module::stage_module(genhap_set & _GH, work_queue & _workers, bool _verbose, const std::string & _line, const std::string & _progress, const std::string & _progress_threaded) :
	GH(_GH), workers(_workers), verbose(_verbose), line(_line), progress(_workers.size() < 2 ? _progress : _progress_threaded) {
}

stage_module::~stage_module() {
}

genotype_graph * stage_module::graph(int ind) {
	sorvane_assert(ind < (int)GH.vecG.size());
	sorvane_assert(ind >= 0);
	return GH.vecG[ind];
}

void stage_module::run() {
	const int N = GH.vecG.size();
	if (verbose) {
		LOG.println("");
		LOG.printlnL(line);
	}
	workers.run(N, [this](int ind, int) { process(ind); }, verbose ? work_queue::counter(progress, N) : nullptr);
	if (verbose) LOG.println("");
}
