<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name>Tables</name>
    <message>
        <source>Server</source>
        <translation>服务器</translation>
    </message>
    <message>
        <source>Client</source>
        <translation>客户端</translation>
    </message>
    <message>
        <source>Stock</source>
        <translation>股票</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Last</source>
        <translation>最新价</translation>
    </message>
    <message>
        <source>Bought</source>
        <translation>买入</translation>
    </message>
    <message>
        <source>Sold</source>
        <translation>卖出</translation>
    </message>
    <message>
        <source>Bought amount</source>
        <translation>买入金额</translation>
    </message>
    <message>
        <source>Sold amount</source>
        <translation>卖出金额</translation>
    </message>
    <message>
        <source>Commission</source>
        <translation>手续费</translation>
    </message>
    <message>
        <source>Profit</source>
        <translation>盈亏</translation>
    </message>
    <message>
        <source>Position value</source>
        <translation>持仓市值</translation>
    </message>
    <message>
        <source>Order</source>
        <translation>委托</translation>
    </message>
    <message>
        <source>Side</source>
        <translation>方向</translation>
    </message>
    <message>
        <source>Price</source>
        <translation>价格</translation>
    </message>
    <message>
        <source>Volume</source>
        <translation>数量</translation>
    </message>
    <message>
        <source>Traded</source>
        <translation>已成交</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>状态</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>时间</translation>
    </message>
    <message>
        <source>Amount</source>
        <translation>金额</translation>
    </message>
    <message>
        <source>Task</source>
        <translation>任务</translation>
    </message>
    <message>
        <source>Runs on</source>
        <translation>运行于</translation>
    </message>
    <message>
        <source>Open lots</source>
        <translation>挂单手数</translation>
    </message>
    <message>
        <source>Orders</source>
        <translation>委托</translation>
    </message>
    <message>
        <source>Deals</source>
        <translation>成交</translation>
    </message>
    <message>
        <source>Tasks</source>
        <translation>任务</translation>
    </message>
    <message>
        <source>Net bought</source>
        <translation>净买入</translation>
    </message>
    <message>
        <source>Nothing traded yet</source>
        <translation>尚无成交</translation>
    </message>
    <message>
        <source>No orders of this stock yet</source>
        <translation>该股票尚无委托</translation>
    </message>
    <message>
        <source>No deals of this stock yet</source>
        <translation>该股票尚无成交</translation>
    </message>
    <message>
        <source>No tasks of this stock</source>
        <translation>该股票没有任务</translation>
    </message>
    <message>
        <source>No lots of this stock rest at the exchange</source>
        <translation>该股票没有挂单</translation>
    </message>
</context>
<context>
    <name>desk::CBalanceTimesPage</name>
    <message>
        <source>Account</source>
        <translation>账户</translation>
    </message>
    <message>
        <source>Strategy</source>
        <translation>策略</translation>
    </message>
    <message>
        <source>Balanced at</source>
        <translation>配平时间</translation>
    </message>
    <message>
        <source>Set time</source>
        <translation>设定时间</translation>
    </message>
    <message>
        <source>Delete row</source>
        <translation>删除此行</translation>
    </message>
    <message>
        <source>%1 / %2 at</source>
        <translation>%1 / %2 于</translation>
    </message>
    <message>
        <source>Choose a strategy to give it a time</source>
        <translation>请先选择策略，再设定时间</translation>
    </message>
</context>
<context>
    <name>desk::CChart</name>
    <message>
        <source>all strategies</source>
        <translation>全部策略</translation>
    </message>
    <message>
        <source>Profit of %1 / %2 over the day (yuan)</source>
        <translation>%1 / %2 当日盈亏（元）</translation>
    </message>
    <message>
        <source>Price</source>
        <translation>价格</translation>
    </message>
    <message>
        <source>Price of %1 %2 (yuan), with the deals and resting orders of the strategy</source>
        <translation>%1 %2 价格（元），及该策略的成交与挂单</translation>
    </message>
    <message>
        <source>Profit</source>
        <translation>盈亏</translation>
    </message>
    <message>
        <source>Choose a stock</source>
        <translation>请选择股票</translation>
    </message>
    <message>
        <source>No price of the stock has come yet</source>
        <translation>尚未收到该股票的行情</translation>
    </message>
    <message>
        <source>Choose a strategy</source>
        <translation>请选择策略</translation>
    </message>
    <message>
        <source>No profit yet: nothing was traded</source>
        <translation>尚无盈亏：没有成交</translation>
    </message>
</context>
<context>
    <name>desk::CHistoryPage</name>
    <message>
        <source>Account</source>
        <translation>账户</translation>
    </message>
    <message>
        <source>Strategy</source>
        <translation>策略</translation>
    </message>
    <message>
        <source>Stock</source>
        <translation>股票</translation>
    </message>
    <message>
        <source>Bought</source>
        <translation>买入</translation>
    </message>
    <message>
        <source>Sold</source>
        <translation>卖出</translation>
    </message>
    <message>
        <source>Difference</source>
        <translation>差额</translation>
    </message>
    <message>
        <source>Bought amount</source>
        <translation>买入金额</translation>
    </message>
    <message>
        <source>Sold amount</source>
        <translation>卖出金额</translation>
    </message>
    <message>
        <source>Carry over today</source>
        <translation>结转今日</translation>
    </message>
    <message>
        <source>Balance history…</source>
        <translation>历史配平…</translation>
    </message>
    <message>
        <source>Delete stock</source>
        <translation>删除股票</translation>
    </message>
    <message>
        <source>Delete balanced</source>
        <translation>删除已配平</translation>
    </message>
    <message>
        <source>Delete all…</source>
        <translation>全部删除…</translation>
    </message>
    <message>
        <source>%1 was carried over into the history.</source>
        <translation>%1 已结转到历史。</translation>
    </message>
    <message>
        <source>%1 was carried over today already.</source>
        <translation>%1 今日已结转过。</translation>
    </message>
    <message>
        <source>Delete history</source>
        <translation>删除历史</translation>
    </message>
    <message>
        <source>Delete the whole history store? This cannot be undone.</source>
        <translation>确定删除全部历史数据？此操作无法撤销。</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>删除</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
</context>
<context>
    <name>desk::CImportPage</name>
    <message>
        <source>Import a statement…</source>
        <translation>导入对账单…</translation>
    </message>
    <message>
        <source>Deals and orders from workbooks, CSV and text files.</source>
        <translation>可导入工作簿、CSV 和文本文件中的成交与委托。</translation>
    </message>
    <message>
        <source>Sheet</source>
        <translation>工作表</translation>
    </message>
    <message>
        <source>Row</source>
        <translation>行</translation>
    </message>
    <message>
        <source>Not taken because</source>
        <translation>未导入原因</translation>
    </message>
    <message>
        <source>Import a statement</source>
        <translation>导入对账单</translation>
    </message>
    <message>
        <source>Statements (*.xls *.xlsx *.csv *.txt)</source>
        <translation>对账单 (*.xls *.xlsx *.csv *.txt)</translation>
    </message>
    <message>
        <source>All files (*)</source>
        <translation>所有文件 (*)</translation>
    </message>
    <message>
        <source>Reading %1 …</source>
        <translation>正在读取 %1 …</translation>
    </message>
    <message>
        <source>%1: nothing was taken: %2</source>
        <translation>%1：未导入：%2</translation>
    </message>
    <message>
        <source>%1: rows read %2, taken %3, of these new %4, left out %5.</source>
        <translation>%1：读取 %2 行，导入 %3 行，其中新增 %4 行，跳过 %5 行。</translation>
    </message>
</context>
<context>
    <name>desk::CMainWindow</name>
    <message>
        <source>Linkage Desk</source>
        <translation>联动交易台</translation>
    </message>
    <message>
        <source>Profit %1    running orders %2    running tasks %3</source>
        <translation>盈亏 %1    未完委托 %2    运行任务 %3</translation>
    </message>
    <message>
        <source>Balance the history of %1</source>
        <translation>历史配平 %1</translation>
    </message>
    <message>
        <source>Balance %1</source>
        <translation>配平 %1</translation>
    </message>
    <message>
        <source>The history of %1 is being balanced.</source>
        <translation>%1 正在进行历史配平。</translation>
    </message>
    <message>
        <source>%1 will be balanced in 5 seconds.</source>
        <translation>%1 将在 5 秒后配平。</translation>
    </message>
    <message>
        <source>%1 is being balanced already.</source>
        <translation>%1 已在配平中。</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>播放</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>暂停</translation>
    </message>
    <message>
        <source>cannot write %1</source>
        <translation>无法写入 %1</translation>
    </message>
    <message>
        <source>Built-in market, live</source>
        <translation>内置行情，实时</translation>
    </message>
    <message>
        <source>Balance now…</source>
        <translation>立即配平…</translation>
    </message>
    <message>
        <source>Import…</source>
        <translation>导入…</translation>
    </message>
    <message>
        <source>Profit</source>
        <translation>盈亏</translation>
    </message>
    <message>
        <source>Bought</source>
        <translation>买入</translation>
    </message>
    <message>
        <source>Sold</source>
        <translation>卖出</translation>
    </message>
    <message>
        <source>Orders</source>
        <translation>委托</translation>
    </message>
    <message>
        <source>Tasks</source>
        <translation>任务</translation>
    </message>
    <message>
        <source>Balance</source>
        <translation>配平</translation>
    </message>
    <message>
        <source>Balance times</source>
        <translation>配平时间</translation>
    </message>
    <message>
        <source>History</source>
        <translation>历史</translation>
    </message>
    <message>
        <source>Import</source>
        <translation>导入</translation>
    </message>
    <message>
        <source>Stocks of the strategy</source>
        <translation>策略股票</translation>
    </message>
    <message>
        <source>Accounts and strategies</source>
        <translation>账户与策略</translation>
    </message>
    <message>
        <source>Account</source>
        <translation>账户</translation>
    </message>
</context>
<context>
    <name>desk::CPlanDialog</name>
    <message>
        <source>Stock</source>
        <translation>股票</translation>
    </message>
    <message>
        <source>Bought</source>
        <translation>买入</translation>
    </message>
    <message>
        <source>Sold</source>
        <translation>卖出</translation>
    </message>
    <message>
        <source>Difference</source>
        <translation>差额</translation>
    </message>
    <message>
        <source>Order</source>
        <translation>委托</translation>
    </message>
    <message>
        <source>Volume</source>
        <translation>数量</translation>
    </message>
    <message>
        <source>Price type</source>
        <translation>价格类型</translation>
    </message>
    <message>
        <source>Price</source>
        <translation>价格</translation>
    </message>
    <message>
        <source>Remark</source>
        <translation>备注</translation>
    </message>
    <message>
        <source>The account is not known to the data center.</source>
        <translation>数据中心没有该账户。</translation>
    </message>
    <message>
        <source>The data of the account is not loaded yet.</source>
        <translation>该账户的数据尚未载入。</translation>
    </message>
    <message>
        <source>Only stock and credit accounts are balanced.</source>
        <translation>只有股票账户和信用账户可以配平。</translation>
    </message>
    <message>
        <source>The strategy has traded nothing on this account.</source>
        <translation>该策略在此账户上没有成交。</translation>
    </message>
    <message>
        <source>Already balanced</source>
        <translation>已配平</translation>
    </message>
    <message>
        <source>Less than one lot</source>
        <translation>不足一手</translation>
    </message>
    <message>
        <source>Instrument not known</source>
        <translation>没有该合约信息</translation>
    </message>
    <message>
        <source>Orders that would be sent now: %1. Figures and prices may still change.</source>
        <translation>现在将发送 %1 笔委托。数量和价格仍可能变化。</translation>
    </message>
    <message>
        <source>Balance</source>
        <translation>配平</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
</context>
<context>
    <name>desk::CRowsModel</name>
    <message>
        <source>Buy</source>
        <translation>买</translation>
    </message>
    <message>
        <source>Sell</source>
        <translation>卖</translation>
    </message>
</context>
</TS>
