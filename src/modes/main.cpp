#include "modes/assembler/assembler.h"
#include "modes/caller/caller.h"
#include "modes/converter/converter.h"
#include "modes/mutincluder/mutincluder.h"
#include "modes/phaser/phaser.h"
#include "modes/sorvane.h"
#include "modes/summarizer/summarizer.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

#include <exception>
#include <string>
#include <sys/time.h>
#include <vector>

static void run(std::string mode, std::vector < std::string > & args) {
	if (mode == "-phase") { phaser M; M.phase(args); }
	else if (mode == "-convert") { converter M; M.convert(args); }
	else if (mode == "-call") { caller M; M.call(args); }
	else if (mode == "-check") { summarizer M; M.summarize(args); }
	else if (mode == "-assemble") { assembler M; M.assemble(args); }
	else if (mode == "-mutinclude") { mutincluder M; M.mutinclude(args); }
	else {
		// A command line that starts with options is a phasing command line.
		args.insert(args.begin(), mode);
		phaser M;
		M.phase(args);
	}
}

int main(int argc, char ** argv) {
	struct timeval start_time, end_time;
	gettimeofday(&start_time, NULL);
	START_DATE = time(NULL);
	if (argc == 1) exit(1);
	COMMAND_LINE = argv[0];
	for (int a = 1 ; a < argc ; a ++) COMMAND_LINE += std::string(" ") + argv[a];

	std::string mode = argv[1];
	std::vector < std::string > args(argv + 2, argv + argc);
	try {
		run(mode, args);
	} catch (const std::exception & e) {
		// Unreadable input (a truncated compressed file, for instance) ends the run with its message.
		LOG.error(e.what());
	}

	gettimeofday(&end_time, NULL);
	LOG.println("\nRunning time: " + sutils::long2str(end_time.tv_sec - start_time.tv_sec) + " seconds");
	LOG.close();
	return 0;
}
