#ifndef _PHASER_H
#define _PHASER_H

#include "containers/genhap_set/genhap_set.h"
#include "models/hmm_parameters.h"
#include "modes/sorvane.h"

#include <string>
#include <vector>

// The phasing mode.
class phaser : public sorvane {
public:
	genhap_set GH;
	hmm_parameters hmm;
	bool model_version1;
	bool predefined_states;
	// Header lines of the SAMPLE file, kept for the output once the readers are gone.
	std::string sample_header1;
	std::string sample_header2;

	phaser();
	~phaser();

	void phase(std::vector < std::string > & args);

	void declare_options() override;
	void check_options() override;
	void check_files() override;
	void verbose_mode() override;
	void verbose_options() override;
	void read_files_and_initialise() override;
};

#endif
