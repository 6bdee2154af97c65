// Renders every themed widget in its states into one picture, to judge the look by eye:
//   tavimo_gallery <file.png>
// Runs offscreen; hover is shown by marking a widget as under the mouse.

#include <ondo/button.h>
#include <ondo/button_dark.h>
#include <ondo/message_box.h>
#include <ondo/style.h>
#include <ondo/widgets.h>

#include <QApplication>
#include <QFontDatabase>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QPainter>
#include <QStandardItemModel>
#include <QTableView>
#include <QTimer>

#include <cstdio>

namespace {

const ondo::pixel_argb icon_highlight = 0xFFF0F0F0;
const ondo::pixel_argb icon_normal = 0xFF818885;

enum class state { normal, hover, pressed, checked, disabled };

const char* state_name(state s)
{
    switch (s) {
    case state::normal: return "normal";
    case state::hover: return "hover";
    case state::pressed: return "pressed";
    case state::checked: return "checked";
    case state::disabled: return "disabled";
    }
    return "";
}

template <typename W>
W* in_state(W* w, state s)
{
    switch (s) {
    case state::normal: break;
    case state::hover: w->setAttribute(Qt::WA_UnderMouse, true); break;
    case state::pressed:
        if constexpr (std::is_base_of_v<QAbstractButton, W>)
            w->setDown(true);
        break;
    case state::checked:
        if constexpr (std::is_base_of_v<QAbstractButton, W>) {
            w->setCheckable(true);
            w->setChecked(true);
        }
        break;
    case state::disabled: w->setEnabled(false); break;
    }
    return w;
}

QLabel* caption(const QString& text)
{
    auto* l = new QLabel(text);
    l->setStyleSheet("color: rgb(150,160,158); font-size: 11px;");
    return l;
}

// One row: a name, then one cell per state made by `make`.
template <typename F>
void add_row(QGridLayout* grid, int& row, const QString& name, std::initializer_list<state> states, F make)
{
    grid->addWidget(caption(name), row, 0);
    int column = 1;
    for (state s : states) {
        auto* cell = new QWidget;
        auto* box = new QVBoxLayout(cell);
        box->setContentsMargins(4, 4, 4, 4);
        box->setSpacing(2);
        box->addWidget(make(s), 0, Qt::AlignLeft);
        box->addWidget(caption(state_name(s)));
        grid->addWidget(cell, row, column++);
    }
    ++row;
}

ondo::button_dark* icon_button(const QString& icon, QSize size, const QString& type, state s)
{
    auto* b = new ondo::button_dark();
    b->setFixedSize(size);
    if (!type.isEmpty())
        b->set_type(type);
    b->set_icon(icon, -1, -1, icon_highlight, icon_normal);
    return in_state(b, s);
}

QWidget* enlarged_icons()
{
    auto* w = new QWidget;
    w->setFixedSize(7 * 90, 100);
    w->setStyleSheet("background-color: rgb(47,47,47);");
    auto* l = new QLabel(w);
    QImage sheet(w->size(), QImage::Format_ARGB32_Premultiplied);
    sheet.fill(QColor(47, 47, 47));
    QPainter p(&sheet);
    int x = 6;
    for (const char* name : {"icon_settings", "icon_about", "icon_help", "icon_open", "icon_undo_small",
             "icon_undo", "icon_fix_time"}) {
        ondo::button_dark::img_highlighter h;
        h.normal = icon_highlight;
        h.highlight = icon_highlight;
        h.path = QString(":/images/%1.png").arg(name);
        h.update();
        const QImage& img = *h.normal_image;
        const qreal scale = qMin(4.0, 80.0 / qMax(img.width(), img.height()));
        p.drawImage(QRectF(x, 6, img.width() * scale, img.height() * scale), img);
        x += 90;
    }
    p.end();
    l->setPixmap(QPixmap::fromImage(sheet));
    l->resize(w->size());
    return w;
}

QWidget* header_strip()
{
    auto* header = new QWidget;
    header->setObjectName("header");
    header->setStyleSheet("#header {background-image: url(:/images/head_medium_dark_without_shadow.png);}");
    header->setFixedSize(820, 66);
    auto* h = new QHBoxLayout(header);
    h->setContentsMargins(0, 5, 20, 5);
    h->setSpacing(4);
    h->addSpacing(40);
    h->addWidget(icon_button(":/images/icon_fix_time.png", {120, 46}, "header", state::normal));
    h->addWidget(icon_button(":/images/icon_fix_time.png", {120, 46}, "header", state::hover));
    h->addWidget(icon_button(":/images/icon_fix_time.png", {120, 46}, "header", state::pressed));
    h->addWidget(icon_button(":/images/icon_undo.png", {46, 46}, "header", state::normal));
    h->addWidget(icon_button(":/images/icon_undo.png", {46, 46}, "header", state::disabled));
    h->addStretch(1);
    auto* logo = new QWidget;
    logo->setFixedSize(216, 48);
    logo->setStyleSheet("background-image: url(:images/logo_small.png);");
    h->addWidget(logo);
    return header;
}

QWidget* drop_area(const QString& lang, QSize size)
{
    auto* area = new QWidget;
    area->setFixedSize(size);
    area->setStyleSheet(QString("background-color: black;background-image: url(:/images/drop_images_here_%1.png);"
                                "background-repeat: none;background-position: bottom center;")
                            .arg(lang));
    auto* v = new QVBoxLayout(area);
    v->setContentsMargins(11, 11, 11, 11);
    v->addSpacing(20);
    auto* controls = new QWidget;
    controls->setStyleSheet("background: none;");
    auto* h = new QHBoxLayout(controls);
    h->setContentsMargins(12, 0, 12, 0);
    h->addStretch(1);
    h->addWidget(icon_button(":/images/icon_open.png", {23, 22}, "", state::normal));
    h->addWidget(icon_button(":/images/icon_undo_small.png", {23, 22}, "", state::normal));
    h->addStretch(1);
    v->addWidget(controls);
    v->addStretch(1);
    return area;
}

QImage grab_message_box()
{
    ondo::message_box box(QMessageBox::Question, "Tavimo", "Some files have no time zone.\nWrite them anyway?",
        QMessageBox::NoButton);
    box.addButton(QMessageBox::Yes);
    box.addButton(QMessageBox::No);
    box.setDefaultButton(QMessageBox::Yes);
    box.show();
    QApplication::processEvents();
    return box.grab().toImage();
}

QImage grab_input_dialog()
{
    QInputDialog dialog;
    ondo::style_dialog(dialog);
    dialog.setWindowTitle("Tavimo");
    dialog.setLabelText("Pick one:");
    dialog.setComboBoxItems({"English", "Deutsch"});
    dialog.show();
    QApplication::processEvents();
    return dialog.grab().toImage();
}

// The small parts, four times enlarged pixel for pixel, to judge edges and glyphs.
QImage zoomed_details()
{
    QWidget strip;
    strip.setStyleSheet("QWidget#strip{background-color: rgb(47,47,47);}");
    strip.setObjectName("strip");
    auto* h = new QHBoxLayout(&strip);
    h->setContentsMargins(4, 4, 4, 4);
    h->setSpacing(4);
    for (state s : {state::normal, state::hover})
        for (const char* icon : {"icon_settings", "icon_about", "icon_help", "icon_open", "icon_undo_small"})
            h->addWidget(icon_button(QString(":/images/%1.png").arg(icon), {23, 22}, "", s));
    for (bool checked : {false, true}) {
        auto* r = new ondo::radio;
        r->setChecked(checked);
        h->addWidget(r);
        h->addWidget(new ondo::checkbox("", nullptr, checked));
    }
    h->addWidget(in_state(new ondo::button_dark("Ok"), state::normal));
    h->addWidget(in_state(new ondo::button_dark("Ok"), state::pressed));
    auto* c = new ondo::combobox(true, nullptr);
    c->addItem("de");
    h->addWidget(c);
    strip.show();
    QApplication::processEvents();
    const QImage shot = strip.grab().toImage();
    // Two halves, one above the other, so the enlargement stays viewable.
    const int half = (shot.width() + 1) / 2;
    QImage stacked(half, shot.height() * 2, QImage::Format_ARGB32_Premultiplied);
    stacked.fill(Qt::black);
    QPainter p(&stacked);
    p.drawImage(0, 0, shot.copy(0, 0, half, shot.height()));
    p.drawImage(0, shot.height(), shot.copy(half, 0, half, shot.height()));
    p.end();
    return stacked.scaled(stacked.size() * 4, Qt::IgnoreAspectRatio, Qt::FastTransformation);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <file.png>\n", argv[0]);
        return 2;
    }
    auto* style = new ondo::proxy_style();
    QApplication::setStyle(style);
    QFontDatabase::addApplicationFont(":/images/FreeSans.ttf");
    QFontDatabase::addApplicationFont(":/images/FreeSansBold.ttf");
    QFont font("FreeSans");
    font.setPointSize(12);
    QApplication::setFont(font);

    QWidget page;
    page.setStyleSheet("color: rgb(198,213,210);");
    page.setAutoFillBackground(true);
    QPalette pal = page.palette();
    pal.setColor(QPalette::Window, QColor(30, 30, 30));
    page.setPalette(pal);
    auto* outer = new QVBoxLayout(&page);
    auto* gridw = new QWidget;
    auto* grid = new QGridLayout(gridw);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(2);
    int row = 0;

    const auto all = {state::normal, state::hover, state::pressed, state::checked, state::disabled};
    add_row(grid, row, "button_dark", all, [](state s) { return in_state(new ondo::button_dark("Apply"), s); });
    add_row(grid, row, "button_dark\ntext colour", all, [](state s) {
        auto* b = new ondo::button_dark("Apply");
        b->set_text_color(ondo::pixel_argb(230, 120, 90));
        return in_state(b, s);
    });
    add_row(grid, row, "icon 23x22", all, [](state s) {
        auto* w = new QWidget;
        w->setStyleSheet("background-color: rgb(47,47,47);");
        auto* h = new QHBoxLayout(w);
        h->setContentsMargins(4, 4, 4, 4);
        h->setSpacing(4);
        for (const char* icon : {"icon_settings", "icon_about", "icon_help", "icon_open", "icon_undo_small"})
            h->addWidget(icon_button(QString(":/images/%1.png").arg(icon), {23, 22}, "", s));
        return w;
    });
    add_row(grid, row, "button_dark_flat", all, [](state s) {
        auto* b = new ondo::button_dark_flat("Flat");
        b->set_type("blank");
        return in_state(b, s);
    });
    add_row(grid, row, "button_dark_round", all, [](state s) { return in_state(new ondo::button_dark_round("Round"), s); });
    add_row(grid, row, "button / html", {state::normal, state::pressed, state::disabled}, [](state s) {
        auto* w = new QWidget;
        auto* h = new QHBoxLayout(w);
        h->setContentsMargins(0, 0, 0, 0);
        h->addWidget(in_state(new ondo::button("Plain"), s));
        h->addWidget(in_state(new ondo::button_html("<b style='color:#c6d5d2'>Html</b>", nullptr), s));
        return w;
    });
    add_row(grid, row, "radio", {state::normal, state::checked, state::disabled}, [](state s) {
        auto* w = new QWidget;
        auto* h = new QHBoxLayout(w);
        h->setContentsMargins(0, 0, 0, 0);
        for (bool checked : {false, true}) {
            auto* r = new ondo::radio;
            r->setText(checked ? "on" : "off");
            r->setChecked(checked);
            if (s == state::disabled)
                r->setEnabled(false);
            h->addWidget(r);
        }
        return w;
    });
    add_row(grid, row, "checkbox", {state::normal, state::disabled}, [](state s) {
        auto* w = new QWidget;
        auto* h = new QHBoxLayout(w);
        h->setContentsMargins(0, 0, 0, 0);
        for (bool checked : {false, true})
            h->addWidget(in_state(new ondo::checkbox(checked ? "on" : "off", nullptr, checked), s));
        return w;
    });
    add_row(grid, row, "lineedit", {state::normal, state::checked, state::disabled}, [](state s) {
        auto* e = new ondo::lineedit;
        e->setText("+05:30");
        e->setFixedWidth(90);
        if (s == state::checked) {
            e->border = QColor(200, 60, 60);
            e->update_style();
        }
        return in_state(e, s == state::checked ? state::normal : s);
    });
    add_row(grid, row, "combobox", {state::normal, state::hover, state::disabled}, [](state s) {
        auto* c = new ondo::combobox(true, nullptr);
        c->addItems({"English", "Deutsch"});
        c->setFixedWidth(120);
        return in_state(c, s);
    });
    add_row(grid, row, "labels", {state::normal, state::hover}, [](state s) {
        auto* w = new QWidget;
        auto* h = new QHBoxLayout(w);
        h->setContentsMargins(0, 0, 0, 0);
        auto* link = new ondo::clickable_label("clickable", true, nullptr);
        if (s == state::hover)
            link->apply_style(true);
        h->addWidget(link);
        h->addWidget(new ondo::label("label"));
        return w;
    });
    add_row(grid, row, "panel", {state::normal}, [](state) {
        auto* w = new QWidget;
        auto* v = new QVBoxLayout(w);
        v->setContentsMargins(0, 0, 0, 0);
        v->setSpacing(0);
        for (bool topless : {false, true}) {
            auto* content = new QHBoxLayout;
            content->addWidget(new ondo::label(topless ? "topless panel" : "panel"));
            auto* p = new ondo::panel(content, topless);
            p->setStyleSheet(p->styleSheet() + "QWidget{background-color: rgb(47,47,47);}");
            p->setFixedSize(220, 40);
            v->addWidget(p);
        }
        return w;
    });
    add_row(grid, row, "table", {state::normal}, [](state) {
        auto* t = new QTableView;
        auto* m = new QStandardItemModel(12, 3, t);
        m->setHorizontalHeaderLabels({"File", "Time", "New time"});
        for (int r = 0; r < 12; ++r)
            for (int c = 0; c < 3; ++c)
                m->setItem(r, c, new QStandardItem(QString("cell %1,%2").arg(r).arg(c)));
        t->setModel(m);
        t->setFixedSize(330, 150);
        t->setAlternatingRowColors(true);
        t->setShowGrid(false);
        t->verticalHeader()->hide();
        t->setFrameShape(QFrame::NoFrame);
        t->setStyleSheet("QTableView {\nalternate-background-color: rgb(68, 68, 68);\nbackground-color: rgb(38, 38, "
                         "38);\n}\nQTableView::item {\npadding-left: 1em;\nborder: 0px;\nborder-right: 1px solid black;\n}");
        t->horizontalHeader()->setStyleSheet("QHeaderView::section {border-width: 3;border-style: solid;border-image:url(:/"
                                             "gui/panel/border.png) 3 stretch;padding-left: 1em;}");
        t->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
        ondo::style_scrollbars(t);
        return t;
    });
    outer->addWidget(gridw);
    outer->addWidget(header_strip());
    auto* drops = new QHBoxLayout;
    drops->addWidget(drop_area("en", {500, 175}));
    drops->addWidget(drop_area("de", {300, 215}));
    outer->addLayout(drops);
    outer->addWidget(drop_area("en", {820, 420}));
    outer->addWidget(enlarged_icons());

    page.show();
    QApplication::processEvents();
    QImage shot = page.grab().toImage();
    const QImage box = grab_message_box();
    const QImage input = grab_input_dialog();

    QImage result(qMax(shot.width(), box.width() + input.width() + 30), shot.height() + qMax(box.height(), input.height()) + 20,
        QImage::Format_ARGB32_Premultiplied);
    result.fill(QColor(30, 30, 30));
    QPainter p(&result);
    p.drawImage(0, 0, shot);
    p.drawImage(10, shot.height() + 10, box);
    p.drawImage(box.width() + 30, shot.height() + 10, input);
    p.end();
    if (!result.save(QString::fromLocal8Bit(argv[1]))) {
        std::fprintf(stderr, "cannot write %s\n", argv[1]);
        return 1;
    }
    QString zoom_path = QString::fromLocal8Bit(argv[1]);
    zoom_path.insert(zoom_path.lastIndexOf('.'), "_zoom");
    zoomed_details().save(zoom_path);
    return 0;
}
