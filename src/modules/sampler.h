#ifndef _SAMPLER_H
#define _SAMPLER_H

#include "modules/stage_module.h"

// Draws each unit's haplotypes from the probabilities of its graph, or uniformly over its
// paths when `random` is set.
class sampler : public stage_module {
public:
	bool random;

	sampler(genhap_set & GH, bool random, work_queue & workers, bool verbose);

	void sample();
	void sample(int ind);

protected:
	void process(int ind) override;
};

#endif
