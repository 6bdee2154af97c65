#include "exiftool_support.h"

#include "test_support.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QLoggingCategory>
#include <QMutexLocker>
#include <QRegularExpression>

namespace test_support {

namespace {

const char fake_perl_script[] = R"PERL(
#!/usr/bin/perl
# Stand-in for "perl <exiftool> -stay_open 1 -@ - ...": records its arguments and its input in
# the folder it lies in and answers each "-execute<id>" as the file "rules" there says.
use strict;
use warnings;
use FindBin;
use IO::Handle;
use Time::HiRes qw(sleep);

my $dir = $FindBin::Bin;

sub append {
    my ($name, $text) = @_;
    open(my $out, '>>:raw', "$dir/$name") or die "$dir/$name: $!";
    print $out $text;
    close $out;
}

sub rules {
    my %rules = (reply => {}, plain => {}, delay => {}, exit => {}, deaf => 0);
    open(my $in, '<:raw', "$dir/rules") or return \%rules;
    while (my $line = <$in>) {
        chomp $line;
        my ($kind, $id, @rest) = split /\t/, $line, -1;
        if ($kind eq 'reply') {
            my ($plain, $text) = @rest;
            $text =~ s/\\(.)/$1 eq 'n' ? "\n" : $1/ge;
            $rules{reply}{$id} = $text;
            $rules{plain}{$id} = $plain;
        } elsif ($kind eq 'deaf') {
            $rules{deaf} = 1;
        } else {
            $rules{$kind}{$id} = $rest[0] // 1;
        }
    }
    close $in;
    return \%rules;
}

append('arguments', join('', map { "$_\n" } @ARGV) . "\n");
$SIG{TERM} = 'IGNORE' if rules()->{deaf};
binmode STDIN;
binmode STDOUT;
STDOUT->autoflush(1);

my $previous = '';
while (my $line = <STDIN>) {
    append('input', $line);
    if ($previous eq "-stay_open\n" && $line eq "0\n" && !rules()->{deaf}) {
        exit 0;
    }
    $previous = $line;
    next unless $line =~ /^-execute(\d+)\n\z/;
    my $id = $1;
    my $r = rules();
    my $key = exists $r->{reply}{$id} ? $id : '*';
    sleep($r->{delay}{$id} / 1000) if $r->{delay}{$id};
    my $text = $r->{reply}{$key} // '';
    $text =~ s/%id/$id/g;
    $text .= "{ready$id}\n" unless $r->{plain}{$key};
    my @parts = split /\|/, $text, -1;
    for my $i (0 .. $#parts) {
        print $parts[$i];
        sleep(0.15) if $i < $#parts;
    }
    exit 0 if exists $r->{exit}{$id};
}
)PERL";

QString exiftool_script()
{
    return QStringLiteral(TAVIMO_EXIFTOOL_SCRIPT);
}

} // namespace

QString make_tagged_photo(const QString& dir, const QString& name, const exif_tag_map& tags)
{
    const QString path = QDir(dir).absoluteFilePath(name);
    QImage image(32, 24, QImage::Format_RGB32);
    image.fill(QColor(90, 120, 150));
    if (!image.save(path))
        qFatal("cannot save %s", qPrintable(path));
    if (tags.empty())
        return path;
    QStringList arguments = {"-overwrite_original", "-m", "-charset", "filename=utf8"};
    for (const auto& [tag, value] : tags)
        arguments << QString("-%1=%2").arg(tag, value);
    arguments << path;
    int code = 0;
    run(exiftool_script(), arguments, &code);
    if (code != 0)
        qFatal("exiftool could not tag %s", qPrintable(path));
    return path;
}

exif_tag_map read_back(const QString& path)
{
    exif_tag_map tags;
    const QString out = run(exiftool_script(), {"-G1", "-args", "-charset", "filename=utf8", path});
    for (const QString& line : out.split('\n', Qt::SkipEmptyParts)) {
        const int equals = line.indexOf('=');
        if (line.startsWith('-') && equals > 0)
            tags[line.mid(1, equals - 1)] = line.mid(equals + 1);
    }
    return tags;
}

fake_perl::fake_perl() : old_path(qgetenv("PATH"))
{
    QFile script(dir.filePath("perl"));
    if (!script.open(QIODevice::WriteOnly))
        qFatal("cannot write the stand-in perl");
    script.write(QByteArray(fake_perl_script).trimmed() + "\n");
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("PATH", QFile::encodeName(dir.path()) + ":" + old_path);
}

fake_perl::~fake_perl()
{
    // The child writes into the folder, so it has to go first.
    ondo::exiftool::shutdown(true);
    qputenv("PATH", old_path);
}

void fake_perl::add_rule(const QString& line)
{
    QFile rules(dir.filePath("rules"));
    if (!rules.open(QIODevice::Append))
        qFatal("cannot write the stand-in's rules");
    rules.write(line.toUtf8() + "\n");
}

void fake_perl::reply(const QString& id, const QString& text, bool no_marker)
{
    QString escaped = text;
    escaped.replace("\\", "\\\\").replace("\n", "\\n");
    add_rule(QString("reply\t%1\t%2\t%3").arg(id, no_marker ? "1" : "", escaped));
}

void fake_perl::delay(const QString& id, int ms)
{
    add_rule(QString("delay\t%1\t%2").arg(id).arg(ms));
}

void fake_perl::exit_after(const QString& id)
{
    add_rule(QString("exit\t%1").arg(id));
}

void fake_perl::ignore_close_and_term()
{
    add_rule("deaf\t*");
}

void fake_perl::make_unstartable()
{
    QFile::remove(dir.filePath("perl"));
    qputenv("PATH", QFile::encodeName(dir.path()));
}

QList<QStringList> fake_perl::starts() const
{
    QFile file(dir.filePath("arguments"));
    QList<QStringList> result;
    if (!file.open(QIODevice::ReadOnly))
        return result;
    for (const QString& block : QString::fromUtf8(file.readAll()).split("\n\n", Qt::SkipEmptyParts))
        result << block.split('\n', Qt::SkipEmptyParts);
    return result;
}

QByteArray fake_perl::input() const
{
    QFile file(dir.filePath("input"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QList<QStringList> fake_perl::commands() const
{
    static const QRegularExpression execute("^-execute\\d+$");
    QList<QStringList> result;
    QStringList current;
    for (const QString& line : QString::fromUtf8(input()).split('\n', Qt::SkipEmptyParts)) {
        current << line;
        if (execute.match(line).hasMatch()) {
            result << current;
            current.clear();
        }
    }
    return result;
}

namespace {

QMutex capture_mutex;
QStringList captured;
QtMessageHandler previous_handler = nullptr;

void capture(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (context.category && QByteArray(context.category) == "exiftool") {
        QMutexLocker lock(&capture_mutex);
        captured << message;
    }
    if (previous_handler)
        previous_handler(type, context, message);
}

} // namespace

log_capture::log_capture()
{
    QLoggingCategory::setFilterRules("exiftool.debug=true");
    QMutexLocker lock(&capture_mutex);
    captured.clear();
    previous_handler = qInstallMessageHandler(capture);
}

log_capture::~log_capture()
{
    qInstallMessageHandler(previous_handler);
}

QStringList log_capture::lines() const
{
    QMutexLocker lock(&capture_mutex);
    return captured;
}

int log_capture::count(const QString& part) const
{
    return lines().filter(part).size();
}

QString log_capture::first(const QString& part) const
{
    const QStringList found = lines().filter(part);
    return found.isEmpty() ? QString() : found.first();
}

} // namespace test_support
