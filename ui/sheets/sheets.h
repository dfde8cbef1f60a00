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

/// A sheet is open exactly while its field of the model is set. The one opened last is on top; the
/// others wait beneath it. The actions of the window can be called by their keys in each.
class Sheets : public QObject {
    Q_OBJECT
public:
    /// Both must outlive this object. `version` is what the program says of itself.
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
