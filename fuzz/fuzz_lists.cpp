#include "fuzz_files.h"
#include "input/bamlist_reader.h"
#include "input/filter_reader.h"

// One list file read as each kind of filter list and as a list of read files.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t * data, size_t size) {
	std::vector < std::string > f = writeFuzzFiles(data, size, { "in.list" });
	runReader([&] {
		filter_reader F;
		F.initialise(0, 1000000000);
		F.readSnpExcludeList(f[0]);
	});
	runReader([&] {
		filter_reader F;
		F.readIndIncludeList(f[0]);
		F.readGrpExcludeList(f[0]);
	});
	runReader([&] {
		bamlist_reader B;
		B.readBamList(f[0]);
	});
	return 0;
}
