// Names the processor in what a run leaves behind: ratios hold for one kind of processor, and only
// runs on the same kind may be laid side by side.
#include <benchmark/benchmark.h>

#include <fstream>
#include <map>
#include <string>

namespace kvx_bench {

namespace {

// The fields of the first processor, each under its own name.
std::map<std::string, std::string> ProcessorFields() {
    std::map<std::string, std::string> fields;
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line) && !line.empty();) {
        const size_t colon = line.find(':');
        const size_t nameEnd = line.find_last_not_of("\t ", colon - 1);
        if (colon != std::string::npos && colon + 2 <= line.size()) {
            fields[line.substr(0, nameEnd + 1)] = line.substr(colon + 2);
        }
    }
    return fields;
}

// Maker, family and model tell the kind; a name is often no more than the maker's choice of words.
bool NameProcessor() {
    auto fields = ProcessorFields();
    benchmark::AddCustomContext(
        "processor",
        fields["vendor_id"] + " family " + fields["cpu family"] + " model " + fields["model"]);
    benchmark::AddCustomContext("processor_name", fields["model name"]);
    return true;
}

[[maybe_unused]] const bool kNamed = NameProcessor();

}  // namespace

}  // namespace kvx_bench
