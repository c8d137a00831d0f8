#include "input/graph_reader.h"
#include "objects/genotype_graph_test_utils.h"
#include "output/graph_writer.h"
#include "test_utils.h"
#include "utils/putils.h"

using testutils::TempDir;

namespace {

// A graph of each kind (haploid, unrelated, scaffolded, duo, trio) from random genotypes, some missing, some Mendel errors, with random probabilities.
genotype_graph * randomGraph(int kind, int L, int famID) {
	std::vector < std::vector < bool > > G(9, std::vector < bool > (L));
	for (int k = 0 ; k < 9 ; k ++) for (int l = 0 ; l < L ; l ++) G[k][l] = putils::getRandom() < (k % 3 == 2 ? 0.1 : 0.3);
	genotype_graph * g = new genotype_graph(kind < 2 ? kind + 1 : kind, famID);
	if (kind == 0) g->buildHap(G[0], G[2]);
	else if (kind == 1) g->buildUnr(G[0], G[1], G[2]);
	else if (kind == 2) g->buildUnr(G[0], G[1], G[2], G[3]);
	else if (kind == 3) g->buildDuo(G[0], G[1], G[2], G[3], G[4], G[5]);
	else g->buildTrio(G[0], G[1], G[2], G[3], G[4], G[5], G[6], G[7], G[8]);
	for (float & p : g->probs) p = putils::getRandom();
	g->likes.assign(g->probs.size(), 0.5f);
	std::string name = "ind" + std::to_string(famID), father = kind > 2 ? "dad" + std::to_string(famID) : "0", mother = kind > 3 ? "mum" + std::to_string(famID) : "";
	std::vector < std::string > p = { "fam" + std::to_string(famID), "0", father, "" }, none;
	g->pushChild(name, 3 * famID, p);
	g->pushFather(father, kind > 2, 3 * famID + 1, p);
	g->pushMother(mother, putils::getRandom() < 0.5, -1, none);
	return g;
}

}

// Graphs of every kind read back identical in all fields the format holds (no missing bits, no scaffold); sites with their first identifier and properties.
TEST(graph_writer, RoundTrip) {
	testutils::silenceLog();
	putils::initRandom(31);
	const int L = 60;
	snp_set sites;
	for (int l = 0 ; l < L ; l ++) {
		snp * s = new snp(l % 2 ? "chr2" : "", 1000 + 7 * l, "A", l % 3 ? "C" : "", 3);
		s->id = "rs" + std::to_string(l);
		s->cm = putils::getRandom() * 10;
		s->idx = l;
		for (int k = 0 ; k < l % 4 ; k ++) s->properties.push_back("p" + std::to_string(k));
		sites.put(s);
	}
	std::vector < genotype_graph * > graphs;
	for (int i = 0 ; i < 25 ; i ++) graphs.push_back(randomGraph(i % 5, L, i));
	genhap_set set;
	set.initialise(graphs, &sites);

	TempDir d;
	graph_writer(set, "ID_1 ID_2 missing sex", "").writeBinaryGraph(d.file("g.bin"));
	graph_reader R;
	R.readBinaryGraph(d.file("g.bin"));
	genhap_set read;
	read.initialise(R.vecG, R.S.get());

	EXPECT_EQ(R.header1 + "/" + R.header2, "ID_1 ID_2 missing sex/");
	ASSERT_EQ(R.S->size(), L);
	for (int l = 0 ; l < L ; l ++) {
		snp * a = sites.getByIndex(l), * b = R.S->getByIndex(l);
		EXPECT_TRUE(b->chr + b->id + b->a0 + b->a1 + std::to_string(b->bp) + std::to_string(b->idx) == a->chr + a->id + a->a0 + a->a1 + std::to_string(a->bp) + std::to_string(a->idx)
			&& b->cm == a->cm && b->properties == a->properties) << l;
	}
	ASSERT_EQ(read.vecG.size(), graphs.size());
	for (unsigned int i = 0 ; i < graphs.size() ; i ++) {
		genotype_graph expected = *graphs[i], & got = *read.vecG[i];
		expected.Miss.clear();
		expected.scaffolded = false;
		EXPECT_EQ(graphtest::dump(got), graphtest::dump(expected)) << "graph " << i;
		EXPECT_TRUE(got.likes.empty());
		// The checker's limits need what the format drops.
		got.Miss.assign(L, false);
		got.scaffolded = graphs[i]->scaffolded;
		EXPECT_EQ(graphtest::fault(got, L), "") << "graph " << i;
	}
}
