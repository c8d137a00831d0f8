#ifndef _NORMALISER_H
#define _NORMALISER_H

#include "modules/stage_module.h"

// Rescales the stored probabilities of each graph to sum 1 within each group.
class normaliser : public stage_module {
public:

	normaliser(genhap_set & GH, work_queue & workers);

	void normalise();
	void normalise(int ind);

protected:
	void process(int ind) override;
};

#endif
