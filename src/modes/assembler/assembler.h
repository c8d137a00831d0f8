#ifndef _ASSEMBLER_H
#define _ASSEMBLER_H

#include "modes/phaser/phaser.h"

#include <string>
#include <vector>

// The -assemble mode, built on the phasing mode. Its own options and work are not built yet:
// it runs the phasing frame and stops.
class assembler : public phaser {
public:
	assembler();
	~assembler();

	void assemble(std::vector < std::string > & args);

	void verbose_mode() override;
	void read_files_and_initialise() override;
};

#endif
