#ifndef _LIKELIHOOD_MAKER_H
#define _LIKELIHOOD_MAKER_H

#include "modules/stage_module.h"

// Turns the genotype likelihoods of the members of each unit into the emission weights of its
// graph's transitions. Likelihoods are one vector per sample, indexed by output order.
class likelihood_maker : public stage_module {
public:
	std::vector < std::vector < float > > & likes;

	likelihood_maker(genhap_set & GH, std::vector < std::vector < float > > & likes, work_queue & workers);

	void make();
	void make(int ind);

protected:
	void process(int ind) override;
};

#endif
