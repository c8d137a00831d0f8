#include "fuzz_files.h"
#include "input/filter_reader.h"
#include "utils/lfile.h"

#include <cstdlib>
#include <exception>
#include <fstream>
#include <unistd.h>

static const std::string separator = "\n--8<--\n";

static std::string folder;

// The log stays silent and its error throws, so that one refused input does not end the run.
// Its name, never opened, puts the reports that readers write beside the input files.
extern "C" int LLVMFuzzerInitialize(int *, char ***) {
	char tmpl[] = "/tmp/sorvane-fuzz-XXXXXX";
	if (!mkdtemp(tmpl)) abort();
	folder = tmpl;
	LOG.file = folder + "/fuzz.log";
	LOG.muteC();
	LOG.muteL();
	LOG.exitOnError = false;
	atexit([] { std::system(("rm -rf '" + folder + "'").c_str()); });
	return 0;
}

std::vector < std::string > writeFuzzFiles(const uint8_t * data, size_t size, const std::vector < std::string > & names) {
	std::string input((const char *)data, size);
	std::vector < std::string > paths;
	size_t from = 0;
	for (size_t i = 0 ; i < names.size() ; i ++) {
		size_t to = (i + 1 < names.size()) ? input.find(separator, from) : std::string::npos;
		std::string part = (from <= input.size()) ? input.substr(from, to == std::string::npos ? std::string::npos : to - from) : "";
		from = (to == std::string::npos) ? input.size() + 1 : to + separator.size();
		paths.push_back(folder + "/" + names[i]);
		std::ofstream f(paths.back().c_str(), std::ios::binary | std::ios::trunc);
		f.write(part.data(), part.size());
	}
	return paths;
}

void runReader(const std::function < void () > & read) {
	try {
		read();
	} catch (const std::exception &) {
	}
}

void runGenotypeReader(const std::function < void (genotype_reader &) > & read) {
	runReader([&] {
		filter_reader F;
		F.initialise(0, 1000000000);
		genotype_reader G(F, false);
		read(G);
	});
}
