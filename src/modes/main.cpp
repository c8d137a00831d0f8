#include "modes/assembler/assembler.h"
#include "modes/caller/caller.h"
#include "modes/converter/converter.h"
#include "modes/mutincluder/mutincluder.h"
#include "modes/phaser/phaser.h"
#include "modes/sorvane.h"
#include "modes/summarizer/summarizer.h"
#include "utils/lfile.h"
#include "utils/output_set.h"
#include "utils/sutils.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <iostream>
#include <string>
#include <sys/resource.h>
#include <sys/time.h>
#include <vector>

static void run(std::string mode, std::vector < std::string > & args) {
	if (mode == "-phase") phaser().run(args);
	else if (mode == "-convert") converter().run(args);
	else if (mode == "-call") caller().run(args);
	else if (mode == "-check") summarizer().run(args);
	else if (mode == "-assemble") assembler().run(args);
	else if (mode == "-mutinclude") mutincluder().run(args);
	else {
		// A command line that starts with options is a phasing command line.
		args.insert(args.begin(), mode);
		phaser().run(args);
	}
}

int main(int argc, char ** argv) {
	struct timeval start_time, end_time;
	gettimeofday(&start_time, NULL);
	START_DATE = time(NULL);
	if (argc == 1) {
		std::cerr << sorvane::usage();
		return 1;
	}
	const std::string mode = argv[1];
	if (argc == 2 && (mode == "-h" || mode == "-H" || mode == "--help")) {
		std::cout << sorvane::usage();
		return 0;
	}
	COMMAND_LINE = argv[0];
	for (int a = 1 ; a < argc ; a ++) COMMAND_LINE += std::string(" ") + argv[a];

	std::vector < std::string > args(argv + 2, argv + argc);
	// Every output of the run keeps a temporary name until all of them are complete.
	OUTPUTS.deferred = true;
	try {
		run(mode, args);
	} catch (const std::exception & e) {
		// Unreadable input (a truncated compressed file, for instance) ends the run with its message.
		LOG.error(e.what());
	}
	std::string failed;
	if (!OUTPUTS.commit(failed)) LOG.error("Writing to file [" + failed + "] failed: " + strerror(errno));

	struct rusage usage;
	getrusage(RUSAGE_SELF, &usage);
	LOG.println("\nPeak memory: " + sutils::double2str(usage.ru_maxrss / 1024.0, 1) + " MB");
	gettimeofday(&end_time, NULL);
	LOG.println("\nRunning time: " + sutils::long2str(end_time.tv_sec - start_time.tv_sec) + " seconds");
	LOG.close();
	return 0;
}
