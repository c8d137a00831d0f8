#include "input/gmap_reader.h"
#include "utils/ifile.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

#include <cmath>
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
		// The header is the file's first line.
		int p = sutils::str2bp(tokens[0], file, n + 2);
		double d = strtod(tokens[2].c_str(), NULL);
		// A NaN passes the order test below, as every comparison with it is false.
		if (!std::isfinite(d)) LOG.error("Genetic position " + tokens[2] + " at line " + sutils::int2str(n + 2) + " of [" + file + "] is not a finite number");
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
