#ifndef _CALLER_H
#define _CALLER_H

#include "modes/phaser/phaser.h"

#include <string>
#include <vector>

// The -call mode: genotypes called from the likelihoods of a GEN file by the phasing
// machinery. The graphs span every genotype that the likelihoods leave open, each transition
// is weighed by the likelihoods of the genotypes it spells, and the most likely pair of
// haplotypes written at the end carries the called genotypes.
class caller : public phaser {
public:
	// Per sample, in store order, three likelihoods per site as the GEN reader kept them.
	std::vector < std::vector < float > > likes;

	caller();
	~caller();

	void declare_options() override;
	void check_options() override;
	void check_files() override;
	void verbose_mode() override;
	void verbose_options() override;
	void read_files_and_initialise() override;

	void phaseIteration(std::string name) override;

protected:
	void weighGraphs() override;
};

#endif
