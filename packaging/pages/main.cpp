// write_pages FOLDER VERSION DATE: writes the manual pages and the shell completions of both programs, each
// made from the description that the program itself parses its command line with. Part of the build; nobody
// is given this.

#include "BashCompletion.h"
#include "Command.h"
#include "ManPage.h"
#include "ZshCompletion.h"

#include "apps/ktsagent/CommandLine.h"
#include "labserver/LabCommandLine.h"
#include "labserver/LabServer.h"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace
{

namespace fs = std::filesystem;

constexpr const char* DOCUMENTS = "/usr/share/doc/ktshttpagent";

void Write(const fs::path& path, const std::string& strText)
{
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file << strText;
    file.close();
    if (!file) {
        throw std::runtime_error("can't be written: " + path.string());
    }
}

void WritePages(const fs::path& folder, const CLI::App& app, const ManPageFacts& facts)
{
    const Command program = Describe(app);
    Write(folder / "man" / (program.strName + ".1"), ManPage(program, facts));
    Write(folder / "bash" / program.strName, BashCompletion(program));
    Write(folder / "zsh" / ("_" + program.strName), ZshCompletion(program));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::cerr << "usage: write_pages FOLDER VERSION DATE\n";
        return EXIT_FAILURE;
    }
    try {
        CLI::App agent;
        int nExit = 0;
        DescribeCommandLine(agent, nExit);
        WritePages(argv[1], agent,
                   {argv[2], argv[3],
                    "ktslabserver --port 8080 &\nktsagent support-ver --server 127.0.0.1:8080 --t 1.1.0",
                    "ktslabserver", DOCUMENTS});
        CLI::App server;
        LabCommandLine line;
        DescribeLabCommandLine(server, line);
        WritePages(argv[1], server,
                   {argv[2], argv[3], "ktslabserver --port 8080 --data lab.db", "ktsagent", DOCUMENTS});
    } catch (const std::exception& error) {
        std::cerr << "write_pages: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
