#ifndef _INITIALISER_H
#define _INITIALISER_H

#include "modules/stage_module.h"

// Sets every graph to uniform transitions within each group.
class initialiser : public stage_module {
public:

	initialiser(genhap_set & GH, work_queue & workers);

	void initialise();
	void initialise(int ind);

protected:
	void process(int ind) override;
};

#endif
