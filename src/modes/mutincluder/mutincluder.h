#ifndef _MUTINCLUDER_H
#define _MUTINCLUDER_H

#include "modes/sorvane.h"

#include <string>
#include <vector>

// The -mutincluder mode. Its own options and work are not built yet: it runs the frame and stops.
class mutincluder : public sorvane {
public:
	mutincluder();
	~mutincluder();

	void mutinclude(std::vector < std::string > & args);

	void verbose_mode() override;
	void read_files_and_initialise() override;
};

#endif
