#include "fuzz_files.h"
#include "input/graph_reader.h"

#include <cstring>

// A binary graph file of version 2.1 or 2.2 alone; with two more parts, the graph file of
// version 2.0 with its sample and site lists.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t * data, size_t size) {
	bool three = memmem(data, size, "\n--8<--\n", 8) != nullptr;
	std::vector < std::string > f = writeFuzzFiles(data, size, { "in.graph", "in.samples", "in.sites" });
	runReader([&] {
		graph_reader R;
		if (three) R.readBinaryGraph20(f[0], f[1], f[2]);
		else R.readBinaryGraph(f[0]);
	});
	return 0;
}
