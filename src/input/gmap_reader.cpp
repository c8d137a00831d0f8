#include "input/gmap_reader.h"
#include "utils/ifile.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

#include <cmath>
#include <cstdlib>
#include <strings.h>

gmap_reader::gmap_reader() {
}

static bool isNumber(const std::string & text) {
	char * end;
	strtod(text.c_str(), &end);
	return !text.empty() && *end == 0;
}

static std::string withoutChr(const std::string & chr) {
	return (chr.size() > 3 && strncasecmp(chr.c_str(), "chr", 3) == 0) ? chr.substr(3) : chr;
}

void gmap_reader::readGeneticMapFile(std::string file, std::string chromosome) {
	LOG.println("\nReading genetic map in [" + file + "]");
	ifile fd;
	if (!fd.open(file)) LOG.error("Impossible to open file [" + file + "]");
	std::string line, where;
	std::vector < std::string > tokens;
	// Columns of the chromosome (-1: none), the position and the distance.
	int n_columns = 0, col_chr = -1, col_pos = 0, col_cm = 2;
	int prev_pos = -1, n = 0, n_other = 0, ndistinct = 0;
	double prev_cm = -1.0;
	for (int n_line = 1 ; getline(fd, line) ; n_line ++) {
		int nfields = sutils::tokenize(line, tokens);
		where = " at line " + sutils::int2str(n_line) + " of [" + file + "]";
		if (n_line == 1) {
			n_columns = nfields;
			if (n_columns != 3 && n_columns != 4) LOG.error("Genetic map [" + file + "] has " + sutils::int2str(nfields) + " columns on its first line; expected 3 (position, rate, cM), or 4 (chromosome, position, rate, cM after a header line; or chromosome, identifier, cM, position as a PLINK .map)");
			bool header = !isNumber(tokens[n_columns - 1]);
			if (n_columns == 4) {
				col_chr = 0;
				col_pos = header ? 1 : 3;
				col_cm = header ? 3 : 2;
			}
			LOG.println(n_columns == 3 ? "  * Columns: position, rate, cM" : (header ? "  * Columns: chromosome, position, rate, cM; chromosome " + chromosome : "  * Columns: chromosome, identifier, cM, position (PLINK); chromosome " + chromosome));
			if (header) continue;
		}
		if (nfields != n_columns) LOG.error("Incorrect number of columns" + where + ", observed: " + sutils::int2str(nfields) + " expected: " + sutils::int2str(n_columns));
		if (col_chr >= 0 && withoutChr(tokens[col_chr]) != withoutChr(chromosome)) {
			n_other ++;
			continue;
		}
		int p = sutils::str2bp(tokens[col_pos], file, n_line);
		double d = strtod(tokens[col_cm].c_str(), NULL);
		// A NaN passes the order test below, as every comparison with it is false.
		if (!std::isfinite(d)) LOG.error("Genetic position " + tokens[col_cm] + where + " is not a finite number");
		if (p < prev_pos || d < prev_cm) LOG.error("Wrong order in your genetic map file " + sutils::int2str(prev_pos) + "bp / " + sutils::double2str(prev_cm, 5) + "cM > " + sutils::int2str(p) + "bp / " + sutils::double2str(d, 5) + "cM" + where);
		if (n == 0 || p != prev_pos) ndistinct ++;
		pos.push_back(p);
		cm.push_back(d);
		prev_pos = p;
		prev_cm = d;
		n ++;
	}
	fd.close();
	if (n == 0 && n_other) LOG.error("Genetic map [" + file + "] has no line for chromosome [" + chromosome + "]");
	// Sites off the map are extrapolated with the mean rate between its two ends.
	if (ndistinct < 2) LOG.error("Genetic map [" + file + "] has " + sutils::int2str(ndistinct) + " distinct positions, at least 2 are needed to interpolate");
	LOG.println("  * " + sutils::int2str(n) + " genetic positions found");
}
