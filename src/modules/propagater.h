#ifndef _PROPAGATER_H
#define _PROPAGATER_H

#include "modules/stage_module.h"

// Turns the stored probabilities of each graph into conditional ones and carries them along
// the chain by forward-backward: joint posteriors per group.
class propagater : public stage_module {
public:

	propagater(genhap_set & GH, work_queue & workers);

	void propagate();
	void propagate(int ind);

protected:
	void process(int ind) override;
};

#endif
