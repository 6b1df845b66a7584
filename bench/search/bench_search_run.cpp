// One keyword search as its own process, as `tlm-manager 20` runs it: a GUI application, the
// connection opened, the search's queries, records and result list. Prints the rows of the list.
//   bench_search_run <dbChoice> <connection string> <keyword>
#include <QApplication>
#include <cstdio>

#include "core/codecs.h"
#include "database/connection.h"
#include "search/search_form.h"
#include "search/search_query.h"
#include "search/search_results.h"

int main(int argc, char** argv) {
    using namespace tlm;
    PinLocalTimeZone();  // as main does
    QApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 4) {
        std::fprintf(stderr, "usage: bench_search_run <dbChoice> <connection string> <keyword>\n");
        return 2;
    }
    const qint32 dbChoice = args[1].toInt();
    auto connection = std::make_shared<Connection>();
    Failure f;
    if (!connection->Open(args[2], &f)) {
        std::fprintf(stderr, "open failed: %s\n", qPrintable(f.description));
        return 1;
    }
    SearchCriteria criteria;
    criteria.searchBy = QStringLiteral("Keyword");
    criteria.keyword = args[3];
    criteria.itemsTypeIndex = 2;  // both
    SearchResults results;
    if (!RunSearch(connection, criteria, dbChoice, results))
        return 1;
    SearchListModel list;
    list.Fill(results);
    std::printf("%d\n", list.rowCount());
    return 0;
}
