#ifndef _IFILE_H
#define _IFILE_H

#include <boost/iostreams/filtering_stream.hpp>
#include <fstream>
#include <string>

// Input stream that decompresses by file extension: ".gz" (gzip, several members
// in a row as written by bgzip) and ".bz2" (bzip2). A truncated or corrupt compressed
// file raises std::ios_base::failure naming the file instead of reading as if it ended.
class ifile : public boost::iostreams::filtering_istream {
public:
	std::string file;
	std::ifstream fd;

	ifile();
	ifile(std::string name, bool binary = false);
	~ifile();

	bool open(std::string name, bool binary = false);
	bool readString(std::string & s);
	std::string name();
	void close();
};

#endif
