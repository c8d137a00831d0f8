#include "input/bamlist_reader.h"
#include "utils/ifile.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

#include <cstdlib>

bamlist_reader::bamlist_reader() {
}

void bamlist_reader::readBamList(std::string file) {
	LOG.println("\nReading bam file list in [" + file + "]");
	ifile fd;
	if (!fd.open(file)) LOG.error("Impossible to open file [" + file + "]");
	std::string line;
	std::vector < std::string > tokens;
	for (int n = 0 ; getline(fd, line) ; n ++) {
		int nfields = sutils::tokenize(line, tokens);
		if (nfields != 3) LOG.error("Parsing line " + sutils::int2str(n) + " : incorrect number of columns, observed: " + sutils::int2str(nfields) + " expected: 3");
		col0.push_back(tokens[0]);
		col1.push_back(tokens[1]);
		char * end;
		long q = strtol(tokens[2].c_str(), &end, 10);
		if (*end || end == tokens[2].c_str() || q < -1 || q > 255) LOG.error("Minimum mapping quality [" + tokens[2] + "] at line " + sutils::int2str(n + 1) + " of [" + file + "] is not a whole number from -1 to 255");
		col2.push_back(q);
	}
	fd.close();
}
