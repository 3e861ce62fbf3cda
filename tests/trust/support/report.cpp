#include "trust/support/report.h"

#include <cstdio>
#include <memory>
#include <stdexcept>

#include <stringbuffer.h>
#include <writer.h>

#include "trust/support/options.h"

namespace kelvor::trust {
namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

void Put(Writer& writer, const char* name, const std::string& text)
{
    writer.Key(name);
    writer.String(text.c_str());
}

void Put(Writer& writer, const std::vector<std::string>& texts)
{
    writer.StartArray();
    for (const std::string& text : texts) {
        writer.String(text.c_str());
    }
    writer.EndArray();
}

void AppendLine(const rapidjson::StringBuffer& line)
{
    const std::string& path = TheOptions().report;
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "ab"));
    if (!file || std::fprintf(file.get(), "%s\n", line.GetString()) < 0) {
        throw std::runtime_error("cannot write the report " + path);
    }
}

}  // namespace

void ReportFigure(const std::string& claim, const std::string& figure)
{
    if (TheOptions().report.empty()) {
        return;
    }
    rapidjson::StringBuffer line;
    Writer writer(line);
    writer.StartObject();
    Put(writer, "claim", claim);
    Put(writer, "figure", figure);
    writer.Key("seed");
    writer.Uint64(TheOptions().seed);
    writer.EndObject();
    AppendLine(line);
}

void ReportTable(const std::string& title, const std::vector<std::string>& header,
                 const std::vector<std::vector<std::string>>& rows)
{
    if (TheOptions().report.empty()) {
        return;
    }
    rapidjson::StringBuffer line;
    Writer writer(line);
    writer.StartObject();
    Put(writer, "title", title);
    writer.Key("header");
    Put(writer, header);
    writer.Key("rows");
    writer.StartArray();
    for (const std::vector<std::string>& row : rows) {
        Put(writer, row);
    }
    writer.EndArray();
    writer.EndObject();
    AppendLine(line);
}

std::string Grouped(unsigned long long number)
{
    std::string digits = std::to_string(number);
    for (std::size_t end = digits.size(); end > 3; end -= 3) {
        digits.insert(end - 3, 1, ',');
    }
    return digits;
}

}  // namespace kelvor::trust
