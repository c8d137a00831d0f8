#include "objects/genotype.h"

genotype::genotype(int _type, int _famID) :
	type((unsigned char)_type), famID(_famID), index(-1), fname("0"), fmain(false), findex(-1), mname("0"), mmain(false), mindex(-1) {
}

void genotype::pushChild(std::string & _name, int _index, std::vector < std::string > & _properties) {
	name = _name;
	index = _index;
	properties = _properties;
}

void genotype::pushFather(std::string & _name, bool _main, int _index, std::vector < std::string > & _properties) {
	fname = _name;
	fmain = _main;
	findex = _index;
	fproperties = _properties;
}

void genotype::pushMother(std::string & _name, bool _main, int _index, std::vector < std::string > & _properties) {
	mname = _name;
	mmain = _main;
	mindex = _index;
	mproperties = _properties;
}
