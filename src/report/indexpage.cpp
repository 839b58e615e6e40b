#include "report/indexpage.h"

#include "base/numbertext.h"
#include "report/assets.h"
#include "report/encode.h"
#include "report/indexparts.h"
#include "report/mustache.h"
#include "report/thumbnail.h"

namespace mirel::report {

std::string indexPage(const std::string& title, const std::string& version,
                      const std::vector<dataset::GroupRow>& rows, const std::string& folder) {
  const std::vector<IndexColumn> columns = indexColumns(rows);
  const std::vector<dataset::GroupFigure> figures = dataset::figuresOf(rows);
  const std::string style = styleSheet() + indexStyle() + labelsOf(columns);
  const Json sessions = labelsIn(rows, "ses");
  Json list = Json::array();
  for (const dataset::GroupRow& row : rows) {
    const std::string page = row.page.empty() ? row.fieldPage : row.page;
    list.push_back(rowPart(row, figures, page.empty() ? "" : thumbnailOf(folder + "/" + page)));
  }
  return filled(indexTemplate(),
                Json{{"title", title},
                     {"version", version},
                     {"images", mirel::counted(rows.size(), "image")},
                     {"subjects", mirel::counted(labelsIn(rows, "sub").list().size(), "subject")},
                     {"counts", countsPart(rows)},
                     {"hasSessions", !sessions.list().empty()},
                     {"sessions", sessions},
                     {"figures", columnsPart(columns, /*figuresOnly=*/true)},
                     {"columns", columnsPart(columns, /*figuresOnly=*/false)},
                     {"rows", list},
                     {"style", style},
                     {"styleHash", policyHash(style)},
                     {"script", indexScript()},
                     {"scriptHash", policyHash(indexScript())}});
}

}  // namespace mirel::report
