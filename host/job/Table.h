// Text in columns, for people.
#ifndef VELNOR_HOST_JOB_TABLE_H
#define VELNOR_HOST_JOB_TABLE_H

#include <string>
#include <vector>

namespace velnor::host {

class Table {
public:
    explicit Table(std::vector<std::string> heads) : mRows{std::move(heads)} {}
    // As many cells as there are heads.
    void add(std::vector<std::string> cells) { mRows.push_back(std::move(cells)); }
    // On standard output. Columns are as wide as their widest cell; where a row does not fit into
    // the terminal, its last cell goes on below itself.
    void print() const;

private:
    std::vector<std::vector<std::string>> mRows;
};

} // namespace velnor::host

#endif
