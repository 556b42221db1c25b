#!/usr/bin/env python3
"""Writes the statement samples of this folder. Needs xlwt and openpyxl.

All files named deals* hold the same rows, written as different programs write them.
"""
import datetime
import zipfile
import xlwt
import openpyxl

# date, time, code, name, side, price, volume, amount, order number, holder
DEALS = [
    ("20230201", "09:31:05", "000878", "云南铜业", "买入", 12.34, 1000, 12340.0, "C1", "0123456789"),
    ("20230201", "09:31:05", "000878", "云南铜业", "买入", 12.34, 1000, 12340.0, "C1", "0123456789"),
    ("20230201", "10:00:00", "600519", "贵州茅台", "卖出", 1800.5, 100, 180050.0, "C2", "A123456789"),
    ("20230202", "13:05:59", "159915", "创业板ETF", "买入", 2.345, 10000, 23450.0, "C3", "0123456789"),
    ("20230202", "14:00:00", "113052", "兴业转债", "卖出", 116.25, 10, 1162.5, "C4", "A123456789"),
    ("20230202", "15:00:00", "799999", "登记指定", "指定交易", 1.0, 0, 0.0, "C5", "A123456789"),
    ("20230202", "15:00:00", "600519", "贵州茅台", "买入", 0.0, 100, 0.0, "C6", "A123456789"),
]
NAMES = ["成交日期", "成交时间", "证券代码", "证券名称", "买卖标志", "成交价格", "成交数量",
         "成交金额", "合同编号", "股东代码"]
ACCOUNT = "资金账号:10001"


def lost(code):
    return int(code)


def grouped(number):
    return f"{number:,.2f}"


def day(text):
    return datetime.date(int(text[:4]), int(text[4:6]), int(text[6:]))


def seconds(text):
    h, m, s = map(int, text.split(":"))
    return (h * 3600 + m * 60 + s) / 86400


def xls():
    book = xlwt.Workbook()
    sheet = book.add_sheet("成交明细")
    date = xlwt.easyxf(num_format_str="yyyy-mm-dd")
    time = xlwt.easyxf(num_format_str="hh:mm:ss")
    sheet.write(0, 0, "历史成交")
    sheet.write(1, 0, ACCOUNT)
    for j, name in enumerate(NAMES):
        sheet.write(3, j, name)
    for i, d in enumerate(DEALS):
        for j, cell in enumerate([(day(d[0]), date), (seconds(d[1]), time), (lost(d[2]),), (d[3],),
                                  (d[4],), (d[5],), (d[6],), (d[7],), (d[8],), (d[9],)]):
            sheet.write(4 + i, j, *cell)
    book.add_sheet("说明").write(0, 0, "以上数据仅供参考")
    book.save("deals.xls")


def xlsx():
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.append(["历史成交"])
    sheet.append(["资金账号", 10001])
    sheet.append(["股东账号", "操作", "成交价", "成交量", "成交额", "代码", "合同号", "成交时间", "成交日期"])
    for d in DEALS:
        sheet.append([d[9], {"买入": "买", "卖出": "卖"}.get(d[4], d[4]), d[5], str(d[6]), d[7],
                      lost(d[2]) if d[2][0] != "0" else d[2], d[8], d[1], int(d[0])])
    book.save("deals.xlsx")


def csv():
    order = [9, 0, 1, 2, 3, 4, 5, 6, 7, 8]
    lines = [ACCOUNT, ",".join(NAMES[i] for i in order)]
    for d in DEALS:
        sign = "-" if d[4] == "卖出" else ""
        row = [f"{day(d[0]).isoformat()}", d[1].lstrip("0"), str(lost(d[2])), d[3], d[4], str(d[5]),
               f"{sign}{d[6]}.00", f'"{grouped(d[7])}"', d[8]]
        lines.append(",".join([d[9]] + row))
    text = "\r\n".join(lines) + "\r\n"
    open("deals_mark.csv", "wb").write(b"\xef\xbb\xbf" + text.encode())
    open("deals_utf8.csv", "wb").write(text.encode())
    open("deals_gb18030.csv", "wb").write(text.encode("gb18030"))


def tabs():
    lines = [ACCOUNT, "\t".join(f'="{name}"' for name in NAMES) + "\t"]
    for d in DEALS:
        cells = [f'="{d[0]}"', f'="{d[1]}"', f'="{d[2]}"', f'="{d[3]}"', f'="{d[4]}"', f"{d[5]:.3f}",
                 str(d[6]), f"{d[7]:.3f}", f'="{d[8]}"', f'="{d[9]}"', ""]
        lines.append("\t".join(cells))
    open("deals_text.xls", "wb").write(("\r\n".join(lines) + "\r\n").encode("gb18030"))


def ods():
    """As a spreadsheet program saves it: equal rows once with their count, a sheet hidden."""
    def text(value):
        return f'<table:table-cell office:value-type="string"><text:p>{value}</text:p></table:table-cell>'

    def number(value):
        return (f'<table:table-cell office:value-type="float" office:value="{value}">'
                f"<text:p>{value:,.2f}</text:p></table:table-cell>")

    def deal(d):
        h, m, s = d[1].split(":")
        return (f'<table:table-cell office:value-type="date" office:date-value="{day(d[0]).isoformat()}">'
                f"<text:p>{d[0]}</text:p></table:table-cell>"
                f'<table:table-cell office:value-type="time" office:time-value="PT{h}H{m}M{s}S">'
                f"<text:p>{d[1]}</text:p></table:table-cell>"
                + number(lost(d[2])) + text(d[3]) + text(d[4]) + number(d[5]) + number(d[6])
                + number(d[7]) + text(d[8]) + text(d[9]))

    def row(cells, times=1):
        return f'<table:table-row table:number-rows-repeated="{times}">{cells}</table:table-row>'

    def table(name, style, rows):
        return f'<table:table table:name="{name}" table:style-name="{style}">{rows}</table:table>'

    head = row("".join(text(name) for name in NAMES))
    blank = '<table:table-cell table:number-columns-repeated="16384"/>'
    shown = (row(text("历史成交")) + row(text(ACCOUNT)) + row(blank) + head
             + row(deal(DEALS[0]), 2) + "".join(row(deal(d)) for d in DEALS[2:]) + row(blank, 1048565))
    styles = "".join(f'<style:style style:name="{name}" style:family="table">'
                     f'<style:table-properties table:display="{display}"/></style:style>'
                     for name, display in (("ta1", "true"), ("ta2", "false")))
    spaces = "".join(f' xmlns:{name}="urn:oasis:names:tc:opendocument:xmlns:{name}:1.0"'
                     for name in ("office", "style", "table", "text"))
    content = (f'<?xml version="1.0" encoding="UTF-8"?><office:document-content{spaces}>'
               f"<office:automatic-styles>{styles}</office:automatic-styles>"
               "<office:body><office:spreadsheet>" + table("成交明细", "ta1", shown)
               + table("备份", "ta2", head + row(deal(DEALS[2]))) +
               "</office:spreadsheet></office:body></office:document-content>")
    with zipfile.ZipFile("deals.ods", "w") as archive:
        for name, part in (("mimetype", "application/vnd.oasis.opendocument.spreadsheet"),
                           ("content.xml", content)):
            entry = zipfile.ZipInfo(name)
            entry.compress_type = zipfile.ZIP_DEFLATED if "." in name else zipfile.ZIP_STORED
            archive.writestr(entry, part)


def orders():
    rows = [
        "委托时间,证券代码,证券名称,买卖标志,委托价格,委托数量,成交数量,成交均价,委托编号,状态,委托类型",
        "09:30:01,600000,浦发银行,买入,7.10,1000,0,0,11,已报,委托",
        "09:30:02,600000,浦发银行,卖出,7.12,500,200,7.12,12,部成,委托",
        "09:30:03,000001,平安银行,证券买入,13.00,300,300,12.99,13,已成,委托",
        "09:30:04,000001,平安银行,证券卖出,13.20,400,100,13.21,14,部撤,委托",
        "09:30:05,000001,平安银行,卖出,13.30,400,0,0,15,已撤,委托",
        "09:30:06,300750,宁德时代,买入,500.00,100,0,0,16,废单,委托",
        "09:30:07,300750,宁德时代,买入,500.00,100,200,500.00,17,已成,委托",
        "09:30:08,000001,平安银行,卖出,13.30,400,0,0,18,已报,撤单",
        "09:30:09,600000,浦发银行,买入,7.10,1000,0,0,19,神秘,委托",
    ]
    text = "当日委托 日期:20230203\n" + "\n".join(rows) + "\n"
    open("orders_gb18030.csv", "wb").write(text.encode("gb18030"))


xls()
xlsx()
csv()
tabs()
ods()
orders()
