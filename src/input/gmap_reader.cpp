#include "input/gmap_reader.h"
#include "utils/ifile.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

#include <cstdlib>

gmap_reader::gmap_reader() {
}

void gmap_reader::readGeneticMapFile(std::string file) {
	LOG.println("\nReading genetic map in [" + file + "]");
	ifile fd;
	if (!fd.open(file)) LOG.error("Impossible to open file [" + file + "]");
	std::string line;
	std::vector < std::string > tokens;
	getline(fd, line);
	int prev_pos = -1, n = 0, ndistinct = 0;
	double prev_cm = -1.0;
	while (getline(fd, line)) {
		int nfields = sutils::tokenize(line, tokens);
		if (nfields != 3) LOG.error("Parsing line " + sutils::int2str(n) + " : incorrect number of columns, observed: " + sutils::int2str(nfields) + " expected: 3");
		int p = strtol(tokens[0].c_str(), NULL, 10);
		double d = strtod(tokens[2].c_str(), NULL);
		if (p < prev_pos || d < prev_cm) LOG.error("Wrong order in your genetic map file " + sutils::int2str(prev_pos) + "bp / " + sutils::double2str(prev_cm, 5) + "cM > " + sutils::int2str(p) + "bp / " + sutils::double2str(d, 5) + "cM");
		if (n == 0 || p != prev_pos) ndistinct ++;
		pos.push_back(p);
		cm.push_back(d);
		prev_pos = p;
		prev_cm = d;
		n ++;
	}
	fd.close();
	// Sites off the map are extrapolated with the mean rate between its two ends.
	if (ndistinct < 2) LOG.error("Genetic map [" + file + "] has " + sutils::int2str(ndistinct) + " distinct positions, at least 2 are needed to interpolate");
	LOG.println("  * " + sutils::int2str(n) + " genetic positions found");
}
