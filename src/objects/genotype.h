#ifndef _GENOTYPE_H
#define _GENOTYPE_H

#include <string>
#include <vector>

// Descriptive header of a sampling unit: its kind, its family and the names, output orders
// and sample columns of the child (or individual) and of the parents. A parent name of "0"
// means no parent.
class genotype {
public:
	// 1 haploid, 2 unrelated, 3 duo, 4 trio: also the number of haplotype tracks.
	unsigned char type;
	int famID;
	std::string name;
	int index;
	std::vector < std::string > properties;
	std::string fname;
	bool fmain;
	int findex;
	std::vector < std::string > fproperties;
	std::string mname;
	bool mmain;
	int mindex;
	std::vector < std::string > mproperties;

	genotype(int type, int famID);

	void pushChild(std::string & name, int index, std::vector < std::string > & properties);
	void pushFather(std::string & name, bool main, int index, std::vector < std::string > & properties);
	void pushMother(std::string & name, bool main, int index, std::vector < std::string > & properties);
};

#endif
