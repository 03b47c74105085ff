#include "builtin_tools.hpp"

#include <optional>
#include <string>
#include <vector>

namespace tool_binding::tool_admit {
namespace {

// Parameters that several tools take.

ParamSpec paths(std::string description) {
  return {.name = "paths",
          .synonyms = {"path", "files", "file"},
          .type = "array",
          .items_type = "string",
          .description = std::move(description)};
}

ParamSpec revision(std::string description) {
  return {.name = "revision",
          .synonyms = {"ref", "commit", "rev"},
          .default_ = "HEAD",
          .description = std::move(description)};
}

// The tools.

ToolSpec search() {
  return ToolSpec(
      {.name = "search",
       .description = "Search the files of the repository.",
       .params = {{.name = "query",
                   .synonyms = {"q", "pattern", "text"},
                   .required = true,
                   .description = "What to look for."},
                  {.name = "mode",
                   .synonyms = {"match"},
                   .enum_ = {"literal", "regex", "word"},
                   .default_ = "literal",
                   .description = "How the query is read."},
                  {.name = "languages",
                   .synonyms = {"language", "lang"},
                   .type = "array",
                   .items_type = "string",
                   .enum_ = {"C", "C++", "Go", "Java", "JavaScript", "Python", "Rust", "Shell"},
                   .description = "Only in files of these languages; all of them by default."},
                  {.name = "limit",
                   .synonyms = {"max_results", "n"},
                   .type = "integer",
                   .minimum = 1,
                   .maximum = 200,
                   .default_ = 20,
                   .description = "The most matches to give."},
                  {.name = "case_sensitive",
                   .type = "boolean",
                   .default_ = false,
                   .description = "Whether letter case counts."},
                  paths("Only in these files and directories.")}});
}

ToolSpec read_file() {
  return ToolSpec(
      {.name = "read_file",
       .description = "Read a file, or some lines of it.",
       .params = {{.name = "path",
                   .synonyms = {"file", "filename", "file_path"},
                   .required = true,
                   .description = "The file, from the root of the repository."},
                  {.name = "start_line",
                   .synonyms = {"line", "from", "offset"},
                   .type = "integer",
                   .minimum = 1,
                   .default_ = 1,
                   .description = "The first line to give."},
                  {.name = "end_line",
                   .synonyms = {"to"},
                   .type = "integer",
                   .minimum = 1,
                   .description = "The last line to give; the last of the file by default."},
                  revision("The commit to read the file from.")}});
}

ToolSpec list_files() {
  return ToolSpec({.name = "list_files",
                   .description = "List files and directories.",
                   .params = {paths("Where to begin; the root by default."),
                              {.name = "glob",
                               .synonyms = {"include", "match"},
                               .default_ = "*",
                               .description = "Only names that match."},
                              {.name = "depth",
                               .synonyms = {"max_depth"},
                               .type = "integer",
                               .minimum = 1,
                               .maximum = 64,
                               .description = "How far to go down; without an end by default."},
                              {.name = "hidden",
                               .synonyms = {"all"},
                               .type = "boolean",
                               .default_ = false,
                               .description = "Whether to list names that begin with a dot."}}});
}

ToolSpec branches() {
  return ToolSpec({.name = "branches",
                   .description = "List, create, rename and delete branches.",
                   .actions = {{"list", {"ls", "show"}},
                               {"create", {"new", "add"}},
                               {"rename", {"move", "mv"}},
                               {"delete", {"remove", "rm"}}},
                   .params = {{.name = "branch",
                               .synonyms = {"name"},
                               .required_for = {"create", "rename", "delete"},
                               .description = "The branch to create, rename or delete."},
                              {.name = "new_name",
                               .synonyms = {"to"},
                               .required_for = {"rename"},
                               .description = "What the branch is to be called."},
                              {.name = "from",
                               .synonyms = {"start_point", "base"},
                               .default_ = "HEAD",
                               .description = "The commit that a new branch begins at."},
                              {.name = "force",
                               .type = "boolean",
                               .default_ = false,
                               .description = "Delete a branch that is not merged."}},
                   .default_action = "list"});
}

ToolSpec commits() {
  return ToolSpec(
      {.name = "commits",
       .description = "Read the history.",
       .actions = {{"log", {"list", "history"}}, {"show", {"get"}}, {"blame", {"annotate"}}},
       .params = {revision("The commit, or the last one of the log."),
                  {.name = "limit",
                   .synonyms = {"max_count", "n"},
                   .type = "integer",
                   .minimum = 1,
                   .maximum = 1000,
                   .action_defaults = {{"log", 20}, {"show", 1}, {"blame", 500}},
                   .description = "The most commits, or lines, to give."},
                  {.name = "author", .synonyms = {"by"}, .description = "Only by this author."},
                  {.name = "since", .synonyms = {"after"}, .description = "Only after this date."},
                  {.name = "paths",
                   .synonyms = {"path", "file"},
                   .type = "array",
                   .items_type = "string",
                   .required_for = {"blame"},
                   .description = "Only what changed these files."}},
       .default_action = "log"});
}

ToolSpec diff() {
  return ToolSpec(
      {.name = "diff",
       .description = "Compare two commits.",
       .params = {{.name = "base",
                   .synonyms = {"from", "old"},
                   .default_ = "HEAD",
                   .description = "The commit to compare with."},
                  {.name = "target",
                   .synonyms = {"to", "new"},
                   .description = "The commit to compare; the files at hand by default."},
                  {.name = "format",
                   .synonyms = {"output"},
                   .enum_ = {"patch", "stat", "names"},
                   .default_ = "patch",
                   .description = "What to show of each file."},
                  {.name = "context",
                   .synonyms = {"context_lines", "unified"},
                   .type = "integer",
                   .minimum = 0,
                   .maximum = 100,
                   .default_ = 3,
                   .description = "Unchanged lines around a change."},
                  {.name = "similarity",
                   .synonyms = {"threshold"},
                   .type = "number",
                   .minimum = 0.0,
                   .maximum = 1.0,
                   .default_ = 0.5,
                   .description = "How alike two files are that count as one, renamed."},
                  paths("Only these files and directories.")}});
}

ToolSpec issues() {
  return ToolSpec(
      {.name = "issues",
       .description = "Read and change the repository's issues.",
       .actions = {{"list", {"ls", "search"}},
                   {"create", {"new", "open"}},
                   {"edit", {"update"}},
                   {"comment", {"reply"}},
                   {"close", {"resolve"}}},
       .params = {{.name = "number",
                   .synonyms = {"id", "issue"},
                   .type = "integer",
                   .minimum = 1,
                   .required_for = {"edit", "comment", "close"},
                   .description = "The issue."},
                  {.name = "title",
                   .synonyms = {"subject", "summary"},
                   .required_for = {"create"},
                   .description = "One line."},
                  {.name = "body",
                   .synonyms = {"text", "description"},
                   .blank_is_value = true,
                   .required_for = {"comment"},
                   .description = "The text; empty text clears it."},
                  {.name = "labels",
                   .synonyms = {"label", "tags"},
                   .type = "array",
                   .items_type = "string",
                   .enum_ = {"bug", "documentation", "feature", "question", "wontfix"},
                   .blank_is_value = true,
                   .description = "Labels to set or to list by; an empty list clears them."},
                  {.name = "state",
                   .synonyms = {"status"},
                   .enum_ = {"open", "closed", "any"},
                   .action_defaults = {{"list", "open"}, {"create", "open"}},
                   .description = "The state to list by or to set."}}});
}

ToolSpec status() {
  return ToolSpec({.name = "status", .description = "The current branch and the changed files."});
}

}  // namespace

ToolTable builtin_tools() {
  return ToolTable(
      {search(), read_file(), list_files(), branches(), commits(), diff(), issues(), status()});
}

}  // namespace tool_binding::tool_admit
