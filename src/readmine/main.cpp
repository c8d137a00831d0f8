#include "readmine/readmine.h"
#include "utils/lfile.h"

#include <exception>
#include <string>
#include <vector>

int main(int argc, char ** argv) {
	std::vector < std::string > args(argv + 1, argv + argc);
	try {
		readmine R;
		R.run(args);
	} catch (const std::exception & e) {
		// Unreadable input (a truncated compressed file, for instance) ends the run with its message.
		LOG.error(e.what());
	}
	return 0;
}
