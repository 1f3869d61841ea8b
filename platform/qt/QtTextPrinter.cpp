// The printer object over QPrinter: print statements are laid out line by line in the chosen
// font; a form feed ends the page, and the next text starts a new one.
//
// The QPrinter is made when a document starts, not before: Qt asks the spooler as it makes one,
// and a spooler that hangs must not hold the program's start. It goes to the printer that
// current() names and to no other: Qt on its own falls back to the first queue when no default
// is set, which may be a raw receipt printer.
#include "platform/Adapters.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>
#include <functional>
#include <memory>
#include <stdexcept>

namespace station {
namespace {

class QtTextPrinter final : public TextPrinter {
public:
    explicit QtTextPrinter(std::function<void()> spoolerCheck) : m_spoolerCheck(std::move(spoolerCheck)) {}

    std::vector<std::string> printers() override {
        checkSpooler();
        std::vector<std::string> out;
        for (const auto& name : QPrinterInfo::availablePrinterNames())
            out.push_back(name.toStdString());
        return out;
    }

    void select(const std::string& name) override {
        checkSpooler();
        const auto info = QPrinterInfo::printerInfo(QString::fromStdString(name));
        if (!info.isNull())
            m_selected = info.printerName();
    }

    std::string current() override {
        if (!m_selected.isEmpty())
            return m_selected.toStdString();
        checkSpooler();
        return QPrinterInfo::defaultPrinterName().toStdString();
    }

    void setFont(const std::string& family, float size) override {
        m_font.setFamily(QString::fromStdString(family));
        // A size of 0 or less keeps the current size.
        if (size > 0)
            m_font.setPointSizeF(static_cast<double>(size));
        if (m_painter.isActive())
            m_painter.setFont(m_font);
    }

    void setOrientation(Orientation orientation) override {
        // Taken for the next document.
        m_orientation = orientation == Orientation::Landscape ? QPageLayout::Landscape : QPageLayout::Portrait;
    }

    void print(const std::string& text) override {
        begin();
        std::string line;
        bool endedByFormFeed = false;
        for (const char c : text) {
            endedByFormFeed = false;
            if (c == '\f') {
                drawLine(line);
                line.clear();
                m_pageDone = true;
                endedByFormFeed = true;
            } else if (c == '\n') {
                drawLine(line);
                line.clear();
                advance();
            } else if (c == '\t') {
                line.append(8 - line.size() % 8, ' ');
            } else if (c != '\r') {
                line += c;
            }
        }
        drawLine(line);
        // The statement ends its line; after a form feed the next text starts the new page anyway.
        if (!endedByFormFeed)
            advance();
    }

    void endDocument() override {
        if (m_painter.isActive())
            m_painter.end();
        m_printer.reset();
        m_pageDone = false;
    }

private:
    void checkSpooler() {
        if (m_spoolerCheck)
            m_spoolerCheck();
    }

    void begin() {
        if (m_painter.isActive())
            return;
        const auto name = QString::fromStdString(current());
        if (name.isEmpty())
            throw std::runtime_error("no printer was chosen and the system has no default printer");
        const auto info = QPrinterInfo::printerInfo(name);
        if (info.isNull())
            throw std::runtime_error("the printer " + name.toStdString() + " is not installed");
        m_printer = std::make_unique<QPrinter>(info, QPrinter::HighResolution);
        m_printer->setDocName(QStringLiteral("VORNETerminal"));
        m_printer->setPageOrientation(m_orientation);
        if (!m_painter.begin(m_printer.get()))
            throw std::runtime_error("the printer cannot be opened");
        m_painter.setFont(m_font);
        m_y = 0;
        m_pageDone = false;
    }

    void newPageIfDue() {
        if (!m_pageDone)
            return;
        m_printer->newPage();
        m_y = 0;
        m_pageDone = false;
    }

    void drawLine(const std::string& line) {
        if (line.empty())
            return;
        newPageIfDue();
        const QFontMetricsF metrics(m_painter.font(), m_printer.get());
        if (m_y + metrics.height() > m_painter.viewport().height() && m_y > 0) {
            m_printer->newPage();
            m_y = 0;
        }
        m_painter.drawText(QPointF(0, m_y + metrics.ascent()),
                           QString::fromLatin1(line.data(), static_cast<qsizetype>(line.size())));
    }

    void advance() {
        newPageIfDue();
        const QFontMetricsF metrics(m_painter.font(), m_printer.get());
        m_y += metrics.lineSpacing();
        if (m_y + metrics.height() > m_painter.viewport().height()) {
            m_printer->newPage();
            m_y = 0;
        }
    }

    std::function<void()> m_spoolerCheck;
    QString m_selected;
    QPageLayout::Orientation m_orientation = QPageLayout::Portrait;
    std::unique_ptr<QPrinter> m_printer; ///< only while a document is open
    QPainter m_painter;
    QFont m_font{QStringLiteral("courier"), 10};
    double m_y = 0;
    bool m_pageDone = false;
};

} // namespace

std::unique_ptr<TextPrinter> makeTextPrinter(std::function<void()> spoolerCheck) {
    return std::make_unique<QtTextPrinter>(std::move(spoolerCheck));
}

} // namespace station
