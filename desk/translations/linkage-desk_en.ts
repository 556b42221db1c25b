<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="zh_CN">
<context>
    <name>LibraryText</name>
    <message>
        <source>未报</source>
        <translation>Not reported</translation>
    </message>
    <message>
        <source>待报</source>
        <translation>To be reported</translation>
    </message>
    <message>
        <source>已报</source>
        <translation>Reported</translation>
    </message>
    <message>
        <source>已报待撤</source>
        <translation>Cancel pending</translation>
    </message>
    <message>
        <source>部成待撤</source>
        <translation>Part filled, cancel pending</translation>
    </message>
    <message>
        <source>部撤</source>
        <translation>Part cancelled</translation>
    </message>
    <message>
        <source>已撤</source>
        <translation>Cancelled</translation>
    </message>
    <message>
        <source>部成</source>
        <translation>Part filled</translation>
    </message>
    <message>
        <source>已成</source>
        <translation>Filled</translation>
    </message>
    <message>
        <source>废单</source>
        <translation>Rejected</translation>
    </message>
    <message>
        <source>未知</source>
        <translation>Unknown</translation>
    </message>
    <message>
        <source>执行中</source>
        <translation>Running</translation>
    </message>
    <message>
        <source>暂停</source>
        <translation>Paused</translation>
    </message>
    <message>
        <source>撤销中</source>
        <translation>Cancelling</translation>
    </message>
    <message>
        <source>异常撤销中</source>
        <translation>Cancelling after an error</translation>
    </message>
    <message>
        <source>完成</source>
        <translation>Finished</translation>
    </message>
    <message>
        <source>打回</source>
        <translation>Sent back</translation>
    </message>
    <message>
        <source>异常终止</source>
        <translation>Ended by an error</translation>
    </message>
    <message>
        <source>强制终止</source>
        <translation>Forcibly ended</translation>
    </message>
    <message>
        <source>最新价</source>
        <translation>Last price</translation>
    </message>
    <message>
        <source>指定价</source>
        <translation>Given price</translation>
    </message>
    <message>
        <source>市价</source>
        <translation>Market price</translation>
    </message>
    <message>
        <source>挂单价</source>
        <translation>Own best price</translation>
    </message>
    <message>
        <source>对手价</source>
        <translation>Opposite best price</translation>
    </message>
    <message>
        <source>卖①价</source>
        <translation>Ask 1</translation>
    </message>
    <message>
        <source>买①价</source>
        <translation>Bid 1</translation>
    </message>
    <message>
        <source>卖②价</source>
        <translation>Ask 2</translation>
    </message>
    <message>
        <source>买②价</source>
        <translation>Bid 2</translation>
    </message>
    <message>
        <source>卖③价</source>
        <translation>Ask 3</translation>
    </message>
    <message>
        <source>买③价</source>
        <translation>Bid 3</translation>
    </message>
    <message>
        <source>卖④价</source>
        <translation>Ask 4</translation>
    </message>
    <message>
        <source>买④价</source>
        <translation>Bid 4</translation>
    </message>
    <message>
        <source>卖⑤价</source>
        <translation>Ask 5</translation>
    </message>
    <message>
        <source>买⑤价</source>
        <translation>Bid 5</translation>
    </message>
    <message>
        <source>卖⑥价</source>
        <translation>Ask 6</translation>
    </message>
    <message>
        <source>买⑥价</source>
        <translation>Bid 6</translation>
    </message>
    <message>
        <source>卖⑦价</source>
        <translation>Ask 7</translation>
    </message>
    <message>
        <source>买⑦价</source>
        <translation>Bid 7</translation>
    </message>
    <message>
        <source>卖⑧价</source>
        <translation>Ask 8</translation>
    </message>
    <message>
        <source>买⑧价</source>
        <translation>Bid 8</translation>
    </message>
    <message>
        <source>卖⑨价</source>
        <translation>Ask 9</translation>
    </message>
    <message>
        <source>买⑨价</source>
        <translation>Bid 9</translation>
    </message>
    <message>
        <source>卖⑩价</source>
        <translation>Ask 10</translation>
    </message>
    <message>
        <source>买⑩价</source>
        <translation>Bid 10</translation>
    </message>
</context>
</TS>
