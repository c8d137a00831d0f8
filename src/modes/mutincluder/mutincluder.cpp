#include "modes/mutincluder/mutincluder.h"
#include "utils/lfile.h"

mutincluder::mutincluder() {
}

mutincluder::~mutincluder() {
}

void mutincluder::mutinclude(std::vector < std::string > & args) {
	declare_options();
	parse_command_line(args, "Mutincluder");
	check_options();
	check_files();
	verbose_mode();
	verbose_options();
	read_files_and_initialise();
	write_files_and_finalise();
}

void mutincluder::verbose_mode() {
	sorvane::verbose_mode();
	LOG.printlnL("\nMODE -mutincluder : PHASE MUTATIONS ONTO KNOWN HAPLOTYPES");
	LOG.printlnC("\nMODE \033[33m-mutincluder\033[0m : PHASE MUTATIONS ONTO KNOWN HAPLOTYPES");
}

void mutincluder::read_files_and_initialise() {
	LOG.error("The -mutinclude mode is not available in this build yet");
}
