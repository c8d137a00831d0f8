#ifndef _PIR_WRITER_H
#define _PIR_WRITER_H

#include "readmine/het_sites.h"
#include "readmine/pir_read.h"
#include "utils/ofile.h"

#include <string>
#include <vector>

// Writes a PIR file: the map of the sites ("MAP" and their number, then one line per site:
// position, first allele, second allele), then per sample its identifier and number of reads
// followed by one line per read: map index, base and quality of each of its sites.
class pir_writer {
public:
	ofile fd;

	pir_writer();

	void open(std::string file);
	void writeMap(het_sites & H);
	void writeSample(const std::string & name, const std::vector < pir_read > & pirs);
	void close();
};

#endif
