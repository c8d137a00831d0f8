#ifndef _CALLER_H
#define _CALLER_H

#include "modes/phaser/phaser.h"

#include <string>
#include <vector>

// The -call mode, built on the phasing mode. Its own options and work are not built yet:
// it runs the phasing frame and stops.
class caller : public phaser {
public:
	caller();
	~caller();

	void call(std::vector < std::string > & args);

	void verbose_mode() override;
	void read_files_and_initialise() override;
};

#endif
