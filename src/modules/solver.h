#ifndef _SOLVER_H
#define _SOLVER_H

#include "modules/stage_module.h"

// Replaces each unit's haplotypes by the most probable path through its graph.
class solver : public stage_module {
public:

	solver(genhap_set & GH, work_queue & workers);

	void solve();
	void solve(int ind);

protected:
	void process(int ind) override;
};

#endif
