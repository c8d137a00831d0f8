#ifndef _IFILE_H
#define _IFILE_H

#include <boost/iostreams/filtering_stream.hpp>
#include <fstream>
#include <string>

// Input stream that decompresses what its first bytes show to be compressed: gzip (several
// members in a row as written by bgzip) and bzip2, whatever the file's name. A truncated or corrupt compressed
// file raises std::ios_base::failure naming the file instead of reading as if it ended.
class ifile : public boost::iostreams::filtering_istream {
public:
	std::string file;
	std::ifstream fd;

	ifile();
	ifile(std::string name, bool binary = false);
	~ifile();

	enum compression { PLAIN, GZIP, BZIP2 };
	// The compression of a file that starts with these bytes (three are enough).
	static compression compressionOf(const std::string & head);

	bool open(std::string name, bool binary = false);
	bool readString(std::string & s);
	std::string name();
	void close();
};

#endif
