#ifndef _CONVERTER_H
#define _CONVERTER_H

#include "modes/sorvane.h"

#include <string>
#include <vector>

// The -convert mode. Its own options and work are not built yet: it runs the frame and stops.
class converter : public sorvane {
public:
	converter();
	~converter();

	void convert(std::vector < std::string > & args);

	void verbose_mode() override;
	void read_files_and_initialise() override;
};

#endif
