#ifndef _SUMMARIZER_H
#define _SUMMARIZER_H

#include "modes/sorvane.h"

#include <string>
#include <vector>

// The check mode: reads the data as phasing would, runs the data checks, phases nothing.
class summarizer : public sorvane {
public:
	summarizer();
	~summarizer();

	void declare_options() override;
	void check_options() override;
	void check_files() override;
	void verbose_mode() override;
	void verbose_options() override;
	void read_files_and_initialise() override;
};

#endif
