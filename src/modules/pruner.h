#ifndef _PRUNER_H
#define _PRUNER_H

#include "modules/stage_module.h"

// Prunes each graph to the transitions that hold `threshold` of the mass of their group,
// and merges its segments.
class pruner : public stage_module {
public:
	double threshold;

	pruner(genhap_set & GH, double threshold, work_queue & workers);

	void prune();
	void prune(int ind);

protected:
	void process(int ind) override;
};

#endif
