#ifndef _OFILE_H
#define _OFILE_H

#include <boost/iostreams/filtering_stream.hpp>
#include <fstream>
#include <string>

// Output stream that compresses by file extension: ".gz" (gzip) and ".bz2" (bzip2).
class ofile : public boost::iostreams::filtering_ostream {
public:
	std::string file;
	std::ofstream fd;

	ofile();
	ofile(std::string name, bool binary = false);
	~ofile();

	bool open(std::string name, bool binary = false);
	void writeString(std::string & s);
	std::string name();
	void close();
};

#endif
