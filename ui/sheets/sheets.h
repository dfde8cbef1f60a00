// Opens and closes the sheets of a window.
#pragma once

#include <QObject>
#include <QPointer>
#include <functional>
#include <string>
#include <vector>

#include "ui/model/content_view.h"
#include "ui/sheets/sheet.h"
#include "ui/widgets/refresher.h"

namespace vestigo {

/// A sheet is open exactly while its field of the model is set. Of several, the one opened last is
/// on top. The shortcuts of the window's actions work in every sheet.
class Sheets : public QObject {
    Q_OBJECT
public:
    /// `content` and `window` must outlive this object. `version` is shown in the About sheet.
    Sheets(ContentView& content, QWidget* window, std::string version, QObject* parent = nullptr);
    ~Sheets() override;

    void refresh(const Changes& changes);

private:
    struct Kind {
        std::function<bool()> wanted;
        std::function<Sheet*()> make;
        QPointer<Sheet> open;
    };

    std::vector<Kind> kinds_;
};

}  // namespace vestigo
